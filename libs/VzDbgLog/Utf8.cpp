#include "Utf8.h"

#include <emmintrin.h>

namespace VzDbgLog
{

namespace
{

constexpr char32_t Replacement = 0xFFFD;

bool IsHighSurrogate(char32_t unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}

bool IsLowSurrogate(char32_t unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

// Takes eight units at a time for as long as they are ASCII: nearly all of a log is.
const wchar_t* EncodeAscii(const wchar_t* next, const wchar_t* end, char*& target)
{
    const __m128i nonAscii = _mm_set1_epi16(static_cast<short>(0xFF80));
    for (; end - next >= 8; next += 8, target += 8)
    {
        const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(next));
        const __m128i plain = _mm_cmpeq_epi16(_mm_and_si128(units, nonAscii), _mm_setzero_si128());
        if (_mm_movemask_epi8(plain) != 0xFFFF)
        {
            break;
        }
        _mm_storel_epi64(reinterpret_cast<__m128i*>(target), _mm_packus_epi16(units, units));
    }
    return next;
}

char32_t TakeCodePoint(const wchar_t*& next, const wchar_t* end)
{
    const char32_t unit = *next++;
    if (IsHighSurrogate(unit) && next != end && IsLowSurrogate(*next))
    {
        return 0x10000 + ((unit - 0xD800) << 10) + (*next++ - 0xDC00U);
    }
    return IsHighSurrogate(unit) || IsLowSurrogate(unit) ? Replacement : unit;
}

void PutTail(char*& target, char32_t code, unsigned shift)
{
    *target++ = static_cast<char>(0x80 | ((code >> shift) & 0x3F));
}

void PutCodePoint(char*& target, char32_t code)
{
    if (code < 0x80)
    {
        *target++ = static_cast<char>(code);
        return;
    }
    if (code < 0x800)
    {
        *target++ = static_cast<char>(0xC0 | (code >> 6));
        PutTail(target, code, 0);
        return;
    }
    if (code < 0x10000)
    {
        *target++ = static_cast<char>(0xE0 | (code >> 12));
    }
    else
    {
        *target++ = static_cast<char>(0xF0 | (code >> 18));
        PutTail(target, code, 12);
    }
    PutTail(target, code, 6);
    PutTail(target, code, 0);
}

} // namespace

std::size_t EncodeUtf8(std::wstring_view text, char* target)
{
    const char* const begin = target;
    const wchar_t* next = text.data();
    const wchar_t* const end = next + text.size();
    while ((next = EncodeAscii(next, end, target)) != end)
    {
        PutCodePoint(target, TakeCodePoint(next, end));
    }
    return static_cast<std::size_t>(target - begin);
}

} // namespace VzDbgLog

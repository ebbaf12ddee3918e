#include "QxCommon_JsonText.h"

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace QxCommon::JsonText
{
namespace
{
static_assert(sizeof(wchar_t) == 2, "text is UTF-16");

constexpr std::size_t longestInput = std::numeric_limits<int>::max() / 3;

// The lead bytes of one length, and what the byte behind the lead may be. Any further byte is 0x80 to 0xBF.
struct SequenceForm
{
    unsigned char firstLead;
    unsigned char lastLead;
    std::size_t length;
    unsigned char lowestSecond;
    unsigned char highestSecond;
};

// Overlong forms, surrogates and what lies above U+10FFFF are left out.
constexpr std::array<SequenceForm, 8> sequenceForms = {{
    {0xC2, 0xDF, 2, 0x80, 0xBF},
    {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF},
    {0xED, 0xED, 3, 0x80, 0x9F},
    {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF},
    {0xF1, 0xF3, 4, 0x80, 0xBF},
    {0xF4, 0xF4, 4, 0x80, 0x8F},
}};

bool IsBetween(unsigned char byte, unsigned char lowest, unsigned char highest)
{
    return byte >= lowest && byte <= highest;
}

const SequenceForm* FormOf(unsigned char lead)
{
    for (const SequenceForm& form : sequenceForms)
    {
        if (lead <= form.lastLead)
        {
            return lead >= form.firstLead ? &form : nullptr;
        }
    }
    return nullptr;
}

// The length of the well-formed sequence of two or more bytes at the beginning of the text, 0 if none is
// there.
std::size_t SequenceLength(const unsigned char* text, std::size_t left)
{
    const SequenceForm* form = FormOf(text[0]);
    if (form == nullptr || left < form->length ||
        !IsBetween(text[1], form->lowestSecond, form->highestSecond))
    {
        return 0;
    }
    for (std::size_t i = 2; i < form->length; ++i)
    {
        if (!IsBetween(text[i], 0x80, 0xBF))
        {
            return 0;
        }
    }
    return form->length;
}

// The number of ASCII bytes at the beginning of the text, give or take the last eight.
std::size_t SkipAscii(const unsigned char* text, std::size_t left)
{
    std::size_t skipped = 0;
    std::uint64_t eight = 0;
    while (left - skipped >= sizeof(eight))
    {
        std::memcpy(&eight, text + skipped, sizeof(eight));
        if ((eight & 0x8080808080808080U) != 0)
        {
            break;
        }
        skipped += sizeof(eight);
    }
    return skipped;
}

} // namespace

bool IsUtf8(std::string_view text)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    for (std::size_t at = SkipAscii(bytes, text.size()); at < text.size();)
    {
        if (bytes[at] < 0x80)
        {
            ++at;
            continue;
        }
        const std::size_t length = SequenceLength(bytes + at, text.size() - at);
        if (length == 0)
        {
            return false;
        }
        at += length;
        at += SkipAscii(bytes + at, text.size() - at);
    }
    return true;
}

std::wstring ToWide(const std::string& text)
{
    if (text.size() > longestInput)
    {
        return {};
    }
    // With its terminator, so that what is cut off at the end is treated as it is elsewhere. A byte never
    // becomes more than one unit.
    const int length = static_cast<int>(text.size()) + 1;
    std::wstring wide(text.size() + 1, L'\0');
    const int converted = MultiByteToWideChar(CP_UTF8, 0, text.c_str(), length, wide.data(), length);
    wide.resize(static_cast<std::size_t>(converted));
    // A sequence that lacks more than one byte takes the terminator with it.
    if (wide.ends_with(L'\0'))
    {
        wide.pop_back();
    }
    return wide;
}

std::string ToUtf8(std::wstring_view text)
{
    if (text.empty() || text.size() > longestInput)
    {
        return {};
    }
    // A unit never becomes more than three bytes.
    const int length = static_cast<int>(text.size());
    std::string narrow(text.size() * 3, '\0');
    const int converted = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(),
                                              static_cast<int>(narrow.size()), nullptr, nullptr);
    narrow.resize(static_cast<std::size_t>(converted));
    return narrow;
}

} // namespace QxCommon::JsonText

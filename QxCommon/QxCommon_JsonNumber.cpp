#include "QxCommon_JsonNumber.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cwchar>
#include <stdexcept>

namespace QxCommon::JsonNumber
{
namespace
{
static_assert(sizeof(long) == sizeof(std::int32_t), "wcstol gives 32 bits");

template <typename Number, typename Convert>
Number ReadDecimal(const std::wstring& text, Convert convert)
{
    wchar_t* end = nullptr;
    errno = 0;
    const Number number = convert(text.c_str(), &end, 10);
    if (errno == ERANGE)
    {
        throw std::out_of_range("number in a JSON string");
    }
    return end == text.c_str() ? 0 : number;
}

} // namespace

std::int32_t ReadInt(const std::wstring& text)
{
    return ReadDecimal<std::int32_t>(text, &std::wcstol);
}

std::uint32_t ReadUInt(const std::wstring& text)
{
    return ReadDecimal<std::uint32_t>(text, &std::wcstoul);
}

std::uint64_t ReadUInt64(const std::wstring& text)
{
    return ReadDecimal<std::uint64_t>(text, &_wcstoui64);
}

std::wstring FormatReal(double number)
{
    std::array<char, 40> text{};
    const int length = std::snprintf(text.data(), text.size(), "%#.16g", number);
    return {text.begin(), text.begin() + length};
}

} // namespace QxCommon::JsonNumber

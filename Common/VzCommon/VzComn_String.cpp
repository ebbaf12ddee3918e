#include "VzComn_String.h"

#include <windows.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cwchar>
#include <exception>

namespace VzCommon::String
{

namespace
{

constexpr size_t firstRoom = 256;
constexpr std::uint32_t noBuffer = 6; // the code for a buffer that cannot be had

void Resize(std::wstring& text, size_t length)
{
    try
    {
        text.resize(length);
    }
    catch (const std::exception&) // no memory, or more than any string can hold
    {
        VZ_THROW(Exception, noBuffer);
    }
}

std::wstring Widen(std::string_view text, UINT codePage)
{
    std::wstring wide;
    if (text.empty())
    {
        return wide; // the system's call takes a length of 0 for a mistake
    }
    if (text.size() > INT_MAX)
    {
        VZ_THROW(Exception, noBuffer);
    }
    const int length = static_cast<int>(text.size());
    const int expected = MultiByteToWideChar(codePage, 0, text.data(), length, nullptr, 0);
    Resize(wide, static_cast<size_t>(expected));
    const int converted = MultiByteToWideChar(codePage, 0, text.data(), length, wide.data(), expected);
    if (converted == 0 || converted != expected)
    {
        VZ_THROW(Exception, ERROR_INVALID_DATA);
    }
    return wide;
}

} // namespace

std::wstring Format(const wchar_t* format, ...)
{
    struct ArgumentList
    {
        va_list list;

        ~ArgumentList() { va_end(list); }
    } arguments{};

    va_start(arguments.list, format);
    std::wstring text;
    while (!FormatV(text, format, arguments.list))
    {
    }
    return text;
}

bool FormatV(std::wstring& text, const wchar_t* format, va_list arguments)
{
    if (format == nullptr)
    {
        VZ_THROW(Exception, ERROR_BAD_ARGUMENTS);
    }
    if (text.size() < firstRoom)
    {
        Resize(text, firstRoom);
    }

    va_list round = nullptr;
    va_copy(round, arguments);
    errno = 0;
    const int length = _vsnwprintf_s(text.data(), text.size(), _TRUNCATE, format, round);
    const bool refused = errno != 0; // a text that only does not fit leaves it alone
    va_end(round);

    if (length >= 0)
    {
        text.resize(static_cast<size_t>(length));
        return true;
    }
    if (refused)
    {
        // A bad conversion looks like a text that does not fit, and would double the room without end.
        VZ_THROW(Exception, ERROR_BAD_ARGUMENTS);
    }
    Resize(text, text.size() * 2);
    return false;
}

std::wstring FromUtf8(std::string_view text)
{
    return Widen(text, CP_UTF8);
}

std::wstring FromAnsi(std::string_view text)
{
    return Widen(text, CP_THREAD_ACP);
}

std::wstring EnsureBackslash(std::wstring text)
{
    if (!text.empty() && text.back() != L'\\')
    {
        text += L'\\';
    }
    return text;
}

std::wstring TrimLeft(std::wstring text)
{
    text.erase(0, text.find_first_not_of(L' '));
    return text;
}

std::wstring TrimRight(std::wstring text)
{
    text.erase(text.find_last_not_of(L' ') + 1);
    return text;
}

std::wstring Trim(std::wstring text)
{
    return TrimLeft(TrimRight(std::move(text)));
}

int CompareNoCase(const std::wstring& left, const std::wstring& right)
{
    return _wcsicmp(left.c_str(), right.c_str());
}

} // namespace VzCommon::String

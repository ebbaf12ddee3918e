#include "VzComn_LogLine.h"

#include "VzComn_LogFront.h"
#include "VzComn_String.h"

#include <shlwapi.h>

#include <algorithm>
#include <iterator>

namespace VzCommon
{

namespace
{

constexpr std::size_t roomAroundMessage = 128;

// As "%0*u" in that base: at least width digits, the hexadecimal ones in lower case.
void AppendNumber(std::wstring& text, std::uint32_t number, unsigned base, std::size_t width)
{
    wchar_t digits[16];
    wchar_t* const end = std::end(digits);
    wchar_t* begin = end;
    for (; number != 0 || static_cast<std::size_t>(end - begin) < width; number /= base)
    {
        *--begin = L"0123456789abcdef"[number % base];
    }
    text.append(begin, end);
}

void AppendTime(std::wstring& text, const SYSTEMTIME& time)
{
    AppendNumber(text, time.wDay, 10, 2);
    text += L'/';
    AppendNumber(text, time.wMonth, 10, 2);
    text += L'/';
    AppendNumber(text, time.wYear, 10, 4);
    text += L' ';
    AppendNumber(text, time.wHour, 10, 2);
    text += L':';
    AppendNumber(text, time.wMinute, 10, 2);
    text += L':';
    AppendNumber(text, time.wSecond, 10, 2);
    text += L'.';
    AppendNumber(text, time.wMilliseconds, 10, 3);
}

// Deliberate: a level that is not one of the first three has the tag of DEBUG, the forced one included.
const wchar_t* TagOf(std::uint32_t level)
{
    switch (level)
    {
    case LogLevel::Info: return L".w.";
    case LogLevel::Warn: return L"@@@";
    case LogLevel::Error: return L"!!!";
    default: return L"???";
    }
}

bool IsPlain(std::string_view text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char character)
                       { return character >= 0x20 && character < 0x7F && character != ':'; });
}

// The system's own search goes by the code page, character by character; for the paths that a compiler gives,
// the last separator says the same.
void AppendFileName(std::wstring& text, const char* file)
{
    const std::string_view path(file != nullptr ? file : "");
    const std::size_t separator = path.find_last_of("/\\");
    const std::string_view name = path.substr(separator == std::string_view::npos ? 0 : separator + 1);
    if (IsPlain(path) && !name.empty())
    {
        text.append(name.begin(), name.end());
    }
    else
    {
        text += String::FromAnsi(file != nullptr ? PathFindFileNameA(file) : "");
    }
}

} // namespace

std::wstring ComposeLogLine(const LogLineParts& parts)
{
    std::wstring text;
    text.reserve(parts.message.size() + parts.moduleName.size() + roomAroundMessage);
    AppendTime(text, parts.time);
    text += L' ';
    AppendNumber(text, GetCurrentProcessId(), 16, 4);
    text += L':';
    AppendNumber(text, GetCurrentThreadId(), 16, 4);
    text.append(L" ").append(TagOf(parts.level)).append(L" <").append(parts.moduleName).append(L"> ");
    text.append(parts.message).append(L" - ");
    AppendFileName(text, parts.file);
    text += L'(';
    AppendNumber(text, parts.line, 10, 1);
    text += L")\r\n";
    return text;
}

} // namespace VzCommon

#include "QxCommon_JsonBounds.h"

#include <algorithm>

namespace QxCommon::JsonBounds
{
namespace
{
constexpr std::size_t longestNumber = 1000;
constexpr std::size_t mostStepsBack = 500'000'000; // some tenths of a second

// Each of these takes the text apart as the reader does, also behind an error, and may end beyond the text.

std::size_t EndOfString(std::string_view text, std::size_t at)
{
    for (++at; at < text.size() && text[at] != '"'; ++at)
    {
        at += text[at] == '\\' ? 1 : 0;
    }
    return at + 1;
}

std::size_t EndOfComment(std::string_view text, std::size_t at)
{
    const char second = at + 1 < text.size() ? text[at + 1] : '\0';
    at += 2;
    std::size_t end = at; // of what only begins like a comment
    if (second == '*')
    {
        end = text.find("*/", at);
        return end == std::string_view::npos ? text.size() : end + 2;
    }
    if (second == '/')
    {
        end = text.find_first_of("\r\n", at);
    }
    return std::min(end, text.size());
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::size_t EndOfNumber(std::string_view text, std::size_t at)
{
    const auto isPart = [](char c)
    { return IsDigit(c) || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E'; };
    while (at < text.size() && isPart(text[at]))
    {
        ++at;
    }
    return at;
}

std::size_t LongestLine(std::string_view text)
{
    std::size_t longest = 0;
    for (std::size_t begin = 0; begin < text.size();)
    {
        const std::size_t end = std::min(text.find_first_of("\r\n", begin), text.size());
        longest = std::max(longest, end - begin);
        begin = end + 1;
    }
    return longest;
}

// For each comment that it keeps, the reader goes over the line behind the last value once more.
bool CanKeep(std::size_t comments, std::string_view text)
{
    if (comments == 0)
    {
        return true;
    }
    const std::size_t longestLine = mostStepsBack / comments;
    return text.size() <= longestLine || LongestLine(text) <= longestLine;
}

} // namespace

Bounds Of(std::string_view text)
{
    std::size_t comments = 0;
    std::size_t at = 0;
    while (at < text.size())
    {
        if (text[at] == '"')
        {
            at = EndOfString(text, at);
        }
        else if (text[at] == '/')
        {
            ++comments;
            at = EndOfComment(text, at);
        }
        else if (IsDigit(text[at]) || text[at] == '-')
        {
            const std::size_t end = EndOfNumber(text, at);
            if (end - at > longestNumber)
            {
                break;
            }
            at = end;
        }
        else
        {
            ++at;
        }
    }
    const std::size_t length = std::min(at, text.size());
    return {length, CanKeep(comments, text.substr(0, length))};
}

} // namespace QxCommon::JsonBounds

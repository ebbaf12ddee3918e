#include "Arguments.h"

#include <windows.h>

#include <cwctype>
#include <limits>

#include "ArgumentTable.h"

namespace
{
class Parser
{
public:
    explicit Parser(const std::vector<std::wstring>& words) : m_words(words) {}

    ParsedArguments Parse()
    {
        bool areOptionsOver = false;
        for (; m_next < m_words.size() && m_parsed.error.empty(); ++m_next)
        {
            const std::wstring& word = m_words[m_next];
            if (!areOptionsOver && word == L"--")
            {
                areOptionsOver = true;
            }
            else if (!areOptionsOver && IsOption(word))
            {
                TakeOption(word);
            }
            else
            {
                TakeWord(word);
            }
        }
        if (m_parsed.error.empty() && !m_parsed.arguments.wantsHelp)
        {
            m_parsed.error = FindMistake(m_parsed.arguments);
        }
        return std::move(m_parsed);
    }

private:
    // A lone "-" and negative numbers are words.
    static bool IsOption(const std::wstring& word)
    {
        return word.size() > 1 && word[0] == L'-' && std::iswdigit(word[1]) == 0;
    }

    void TakeOption(const std::wstring& word)
    {
        const std::size_t mark = word.find(L'=');
        const std::wstring name = word.substr(0, mark);
        const Option* option = FindOption(m_parsed.arguments.verb, name);
        if (option == nullptr)
        {
            m_parsed.error = L"unknown option " + name;
            return;
        }
        if (option->placeholder == nullptr)
        {
            if (mark != std::wstring::npos)
            {
                m_parsed.error = name + L" takes no value";
                return;
            }
            option->apply(m_parsed.arguments, L"");
            return;
        }
        if (mark == std::wstring::npos && m_next + 1 == m_words.size())
        {
            m_parsed.error = name + L" needs a value: " + option->placeholder;
            return;
        }
        const std::wstring value = mark == std::wstring::npos ? m_words[++m_next] : word.substr(mark + 1);
        if (!option->apply(m_parsed.arguments, value))
        {
            m_parsed.error = name + L": \"" + value + L"\" is not " + option->expected;
        }
    }

    void TakeWord(const std::wstring& word)
    {
        Arguments& arguments = m_parsed.arguments;
        if (arguments.verb == Verb::None)
        {
            const VerbRow* row = FindVerb(word);
            arguments.verb = row != nullptr ? row->verb : Verb::None;
            m_parsed.error = row != nullptr ? L"" : L"unknown verb " + word;
        }
        else if (std::optional<std::wstring>* place = PlaceOfWord(); place != nullptr && !*place)
        {
            *place = word;
        }
        else
        {
            m_parsed.error = L"unexpected argument " + word;
        }
    }

    // Where the verb's next word goes; null if it takes none.
    std::optional<std::wstring>* PlaceOfWord()
    {
        Arguments& arguments = m_parsed.arguments;
        switch (arguments.verb)
        {
        case Verb::Send:
        case Verb::Mail: return &arguments.command;
        case Verb::Simulate: return arguments.change ? &arguments.value : &arguments.change;
        default: return nullptr;
        }
    }

    const std::vector<std::wstring>& m_words;
    std::size_t m_next = 0;
    ParsedArguments m_parsed;
};

int DigitOf(wchar_t digit)
{
    if (digit >= L'0' && digit <= L'9')
    {
        return digit - L'0';
    }
    const auto lower = static_cast<wchar_t>(digit | 0x20);
    return lower >= L'a' && lower <= L'f' ? lower - L'a' + 10 : 16;
}
} // namespace

ParsedArguments ParseArguments(const std::vector<std::wstring>& words)
{
    return Parser(words).Parse();
}

std::optional<std::uint32_t> ParseNumber(const std::wstring& text)
{
    const bool isHex = text.size() > 2 && text[0] == L'0' && (text[1] == L'x' || text[1] == L'X');
    const int base = isHex ? 16 : 10;
    std::uint64_t number = 0;
    for (const wchar_t digit : text.substr(isHex ? 2 : 0))
    {
        const int value = DigitOf(digit);
        number = number * static_cast<std::uint64_t>(base) + static_cast<std::uint64_t>(value);
        if (value >= base || number > std::numeric_limits<std::uint32_t>::max())
        {
            return std::nullopt;
        }
    }
    return text.empty() ? std::nullopt : std::optional(static_cast<std::uint32_t>(number));
}

std::optional<std::uint32_t> ParseStatus(const std::wstring& text)
{
    if (text.empty() || text[0] != L'-')
    {
        return ParseNumber(text);
    }
    const std::optional<std::uint32_t> magnitude = ParseNumber(text.substr(1));
    return magnitude && *magnitude <= 0x80000000U ? std::optional(0U - *magnitude) : std::nullopt;
}

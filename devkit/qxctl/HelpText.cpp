#include "HelpText.h"

#include <algorithm>

#include "ArgumentTable.h"

namespace
{
constexpr std::size_t nameWidth = 20;

constexpr const wchar_t* exitCodes =
    L"\nExit codes\n"
    L"  0  done\n"
    L"  1  refused, \"retCode\" of the reply is negative, or there is no reply or it is no JSON\n"
    L"  2  the command line is not understood\n"
    L"  3  the service is not reachable, or the agent for simulate\n"
    L"  4  timed out: no reply to send, mail or simulate, or watch without its count\n";

// Later lines of a text stand below its first one.
std::wstring Row(const std::wstring& name, const std::wstring& text)
{
    std::wstring row =
        L"  " + name + std::wstring(nameWidth - std::min(nameWidth, name.size()), L' ') + L"  ";
    for (const wchar_t unit : text)
    {
        row += unit;
        row.append(unit == L'\n' ? nameWidth + 4 : 0, L' ');
    }
    return row + L'\n';
}

std::wstring OptionList(Verb verb)
{
    std::wstring text;
    for (const Option& option : OptionRows())
    {
        if (FindOption(verb, option.name) == &option)
        {
            const std::wstring value = option.placeholder != nullptr ? option.placeholder : L"";
            text += Row(option.name + (value.empty() ? L"" : L' ' + value), option.help);
        }
    }
    return text;
}

std::wstring ProgramHelp()
{
    std::wstring text =
        L"qxctl watches and drives the host service of a product, and plays the system for its agent.\n\n"
        L"Usage: qxctl VERB [options]\n"
        L"       qxctl VERB --help\n\nVerbs\n";
    for (const VerbRow& row : VerbRows())
    {
        text += Row(row.name, row.summary);
    }
    return text + L"\nOptions of every verb\n" + OptionList(Verb::None) +
           L"\nNumbers are decimal or 0x. Behind \"--\" nothing is an option.\n" + exitCodes;
}
} // namespace

std::wstring HelpText(Verb verb)
{
    const VerbRow* row = FindVerb(verb);
    if (row == nullptr)
    {
        return ProgramHelp();
    }
    return std::wstring(L"Usage: qxctl ") + row->usage + L" [options]\n\n" + row->details + L"\nOptions\n" +
           OptionList(verb) + exitCodes;
}

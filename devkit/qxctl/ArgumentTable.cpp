#include "ArgumentTable.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "ProductProgram.h"
#include "QxCommon_JsonDb.h"
#include "SimulatedChange.h"

namespace
{
constexpr std::uint32_t everywhere = ~0U;

constexpr std::array<VerbRow, 7> verbRows = {{
    {Verb::Status, L"status", L"status", L"Service state and registered clients.",
     L"Asks the service who it is and which clients are registered with it.\n"
     L"With --json the service's reply in one line, and \"state\" of \"service\" in the words of the\n"
     L"service manager; {\"clients\": [], \"service\": {\"state\": ...}} if the service is not there.\n"},
    {Verb::Send, L"send", L"send ('COMMAND' | --file PATH)", L"Sends a command to a client.",
     L"Sends the command as it stands, be it JSON or not, and prints the client's reply as one\n"
     L"line of JSON. Fails if \"retCode\" of the reply is negative.\n"
     L"  qxctl send '{\"JD_COMMAND_ID\": 1001, \"modeId\": 100}'\n"},
    {Verb::Watch, L"watch", L"watch", L"Prints each mail and event as it comes.",
     L"One line of JSON for each: \"time\", \"processId\", \"pluginId\", \"mailId\", \"request\",\n"
     L"\"event\" and more. Says on the error output when it begins, and when the service goes or\n"
     L"comes back: it goes on by itself.\n"},
    {Verb::Mail, L"mail", L"mail --plugin N --mail N ['JSON' | --file PATH]", L"Sends a mail to a plug-in.",
     L"Sends the text as it stands, {} if there is none, to a plug-in of the service, as a client\n"
     L"would, and prints the reply as one line of JSON. Fails if the plug-in's status is negative.\n"
     L"  qxctl mail --plugin 0x4E0100 --mail 1 '{\"name\": \"x\"}'\n"},
    {Verb::Answer, L"answer", L"answer (--plugin N --mail N | --reset)", L"Sets what the service answers.",
     L"From then on the service answers mails to that address so; what is not given stays as\n"
     L"usual. Plug-in 0 with mail 0x2051 (mail), 0x2052 (register) or 0x2053 (unregister) stands\n"
     L"for that command of the link itself. Behind this verb --json takes the text of the reply;\n"
     L"the switch for programs stands before the verb.\n"},
    {Verb::Simulate, L"simulate", L"simulate CHANGE [VALUE]",
     L"Tells the agent of a change of session, network or power.",
     L"Sends the agent of this session what a change of session, network or power would send, and\n"
     L"waits until it has handled it. Windows of other sessions cannot be reached. Needs no service.\n"
     L"  lock, unlock, console-connect, console-disconnect, remote-connect, remote-disconnect,\n"
     L"  logon, logoff, resume\n"
     L"  network-made [TYPE], network-lost [TYPE]   any 32-bit number, 1 if not given\n"
     L"  power-source SOURCE                        mains, battery or ups\n"
     L"  battery PERCENT                            0 to 100\n"
     L"  scheme SCHEME                              power-saver, balanced, high-performance or a GUID\n"
     L"The agent takes the first notice of each of the last three for the state at its start, and\n"
     L"tells the service of the later ones.\n"},
    {Verb::Exit, L"exit", L"exit", L"Signals the product's exit event: the agents end.",
     L"Signals \"Global\\WATCHDOG_NOTIFY_UIDESKTRAY_EXIT\" and the product id. Needs no service.\n"},
}};

bool TakeNumber(std::optional<std::uint32_t>& target, const std::optional<std::uint32_t>& number)
{
    target = number;
    return number.has_value();
}

// Times are seconds on the command line and 32-bit milliseconds behind it.
bool TakeSeconds(std::optional<std::uint32_t>& target, const std::wstring& value)
{
    return TakeNumber(target, ParseNumber(value)) &&
           *target <= std::numeric_limits<std::uint32_t>::max() / 1000;
}

bool TakeProcess(Arguments& arguments, const std::wstring& value)
{
    const std::optional<std::uint32_t> number = ParseNumber(value);
    arguments.processId = number.value_or(0);
    return number.has_value();
}

bool TakeAddress(std::uint32_t& target, bool& isGiven, const std::wstring& value)
{
    const std::optional<std::uint32_t> number = ParseNumber(value);
    target = number.value_or(0);
    isGiven = number.has_value();
    return isGiven;
}

bool TakeJson(Arguments& arguments, const std::wstring& value)
{
    QxCommon::JsonDb scratch;
    arguments.rule.json = value;
    return scratch.ParseFromString(value) == 0;
}

bool TakeDrop(Arguments& arguments, const std::wstring& value)
{
    constexpr std::array<std::pair<const wchar_t*, std::uint32_t>, 4> items = {{
        {L"result", 0xE001A},
        {L"param", 0xE001D},
        {L"message", 0x10014},
        {L"json", 0xE001F},
    }};
    const std::optional<std::uint32_t> number = ParseNumber(value);
    for (const auto& [name, id] : items)
    {
        if (value == name || number == id)
        {
            arguments.rule.drop.emplace_back(name);
            return true;
        }
    }
    return false;
}

constexpr const wchar_t* aNumber = L"a number, decimal or 0x";
constexpr const wchar_t* aStatus = L"a 32-bit number, decimal or 0x";
constexpr const wchar_t* someSeconds = L"a number of seconds up to 4294967";

// The first row that fits verb and name counts, so a verb's own meaning of a name stands before the common
// one.
constexpr std::array optionRows = {
    Option{BitOf(Verb::Send) | BitOf(Verb::Mail), L"--file", L"PATH", L"",
           L"send the text of this UTF-8 file",
           [](Arguments& a, const std::wstring& v)
           {
               a.file = v;
               return true;
           }},
    Option{BitOf(Verb::Send), L"--pid", L"N", aNumber, L"to this process; needed if several are registered",
           TakeProcess},
    Option{BitOf(Verb::Simulate), L"--pid", L"N", aNumber, L"the agent of this process", TakeProcess},
    Option{BitOf(Verb::Send) | BitOf(Verb::Mail) | BitOf(Verb::Simulate), L"--timeout", L"SECONDS",
           someSeconds, L"how long the reply may take, 60 if not given",
           [](Arguments& a, const std::wstring& v) { return TakeSeconds(a.timeoutSeconds, v); }},
    Option{BitOf(Verb::Watch), L"--count", L"N", aNumber, L"end after so many lines",
           [](Arguments& a, const std::wstring& v) { return TakeNumber(a.count, ParseNumber(v)); }},
    Option{BitOf(Verb::Watch), L"--timeout", L"SECONDS", someSeconds,
           L"end after this time; with --count a failure, 4",
           [](Arguments& a, const std::wstring& v) { return TakeSeconds(a.timeoutSeconds, v); }},
    Option{BitOf(Verb::Watch), L"--all", nullptr, L"", L"begin with what the journal still holds",
           [](Arguments& a, const std::wstring&)
           {
               a.wantsAll = true;
               return true;
           }},
    Option{BitOf(Verb::Watch), L"--everything", nullptr, L"",
           L"registrations, their ends and the commands sent as well;\n--count counts them then",
           [](Arguments& a, const std::wstring&)
           {
               a.wantsEverything = true;
               return true;
           }},
    Option{BitOf(Verb::Answer) | BitOf(Verb::Mail), L"--plugin", L"N", aNumber, L"the address: plug-in",
           [](Arguments& a, const std::wstring& v) { return TakeAddress(a.rule.pluginId, a.hasPlugin, v); }},
    Option{BitOf(Verb::Answer) | BitOf(Verb::Mail), L"--mail", L"N", aNumber, L"the address: mail",
           [](Arguments& a, const std::wstring& v) { return TakeAddress(a.rule.mailId, a.hasMail, v); }},
    Option{BitOf(Verb::Answer), L"--result", L"STATUS", aStatus, L"the result in the answer",
           [](Arguments& a, const std::wstring& v) { return TakeNumber(a.rule.result, ParseStatus(v)); }},
    Option{BitOf(Verb::Answer), L"--status", L"STATUS", aStatus, L"what the caller's library call returns",
           [](Arguments& a, const std::wstring& v) { return TakeNumber(a.rule.status, ParseStatus(v)); }},
    Option{BitOf(Verb::Answer), L"--json", L"JSON", L"JSON", L"the reply", TakeJson},
    Option{BitOf(Verb::Answer), L"--text", L"TEXT", L"", L"the reply, which need not be JSON",
           [](Arguments& a, const std::wstring& v)
           {
               a.rule.json = v;
               return true;
           }},
    Option{BitOf(Verb::Answer), L"--delay", L"MS", aNumber, L"answer so many milliseconds later",
           [](Arguments& a, const std::wstring& v) { return TakeNumber(a.rule.delayMs, ParseNumber(v)); }},
    Option{BitOf(Verb::Answer), L"--drop", L"ITEM",
           L"result, param, message, json or the number of such an item",
           L"leave an item out: result (0xE001A), param (0xE001D),\n"
           L"message (0x10014) or json (0xE001F); may be repeated",
           TakeDrop},
    Option{BitOf(Verb::Answer), L"--times", L"N", aNumber, L"only for so many mails",
           [](Arguments& a, const std::wstring& v) { return TakeNumber(a.rule.times, ParseNumber(v)); }},
    Option{BitOf(Verb::Answer), L"--reset", nullptr, L"", L"back to the usual answers everywhere",
           [](Arguments& a, const std::wstring&)
           {
               a.wantsReset = true;
               return true;
           }},
    Option{everywhere, L"--product", L"SUFFIX", L"a product: none, M or B",
           L"whose service: none, M or B; M if not given",
           [](Arguments& a, const std::wstring& v)
           {
               a.product = v;
               return FindProductProgram(v) != nullptr;
           }},
    Option{everywhere, L"--json", nullptr, L"", L"output for programs",
           [](Arguments& a, const std::wstring&)
           {
               a.wantsJson = true;
               return true;
           }},
    Option{everywhere, L"--help", nullptr, L"", L"this text",
           [](Arguments& a, const std::wstring&)
           {
               a.wantsHelp = true;
               return true;
           }},
};

std::wstring FindMailMistake(const Arguments& arguments)
{
    if (arguments.command && arguments.file)
    {
        return L"mail takes a text or --file, and not both";
    }
    return arguments.hasPlugin && arguments.hasMail ? L"" : L"mail needs --plugin and --mail";
}

std::wstring FindAnswerMistake(const Arguments& arguments)
{
    const ControlRequest::AnswerRule& rule = arguments.rule;
    const bool hasRule = arguments.hasPlugin || arguments.hasMail || rule.status || rule.result ||
                         rule.json || rule.delayMs || !rule.drop.empty() || rule.times;
    if (arguments.wantsReset)
    {
        return hasRule ? L"--reset stands alone" : L"";
    }
    return arguments.hasPlugin && arguments.hasMail ? L"" : L"answer needs --plugin and --mail, or --reset";
}

std::wstring FindSimulateMistake(const Arguments& arguments)
{
    return arguments.change ? ParseChange(*arguments.change, arguments.value).error
                            : L"simulate needs a change, such as lock";
}
} // namespace

std::span<const VerbRow> VerbRows()
{
    return verbRows;
}

std::span<const Option> OptionRows()
{
    return optionRows;
}

const VerbRow* FindVerb(const std::wstring& name)
{
    const auto row = std::find_if(verbRows.begin(), verbRows.end(),
                                  [&name](const VerbRow& candidate) { return name == candidate.name; });
    return row != verbRows.end() ? &*row : nullptr;
}

const VerbRow* FindVerb(Verb verb)
{
    const auto row = std::find_if(verbRows.begin(), verbRows.end(),
                                  [verb](const VerbRow& candidate) { return verb == candidate.verb; });
    return row != verbRows.end() ? &*row : nullptr;
}

const Option* FindOption(Verb verb, const std::wstring& name)
{
    const auto row = std::find_if(optionRows.begin(), optionRows.end(),
                                  [verb, &name](const Option& candidate)
                                  { return (candidate.verbs & BitOf(verb)) != 0 && name == candidate.name; });
    return row != optionRows.end() ? &*row : nullptr;
}

std::wstring FindMistake(const Arguments& arguments)
{
    switch (arguments.verb)
    {
    case Verb::None: return L"no verb is given";
    case Verb::Send:
        return arguments.command.has_value() != arguments.file.has_value()
                   ? L""
                   : L"send needs a command or --file, and not both";
    case Verb::Mail: return FindMailMistake(arguments);
    case Verb::Answer: return FindAnswerMistake(arguments);
    case Verb::Simulate: return FindSimulateMistake(arguments);
    default: return L"";
    }
}

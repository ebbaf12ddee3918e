#include "Options.h"

#include <cerrno>
#include <cwchar>

namespace WatchDog
{
namespace
{
// The whole word is a number, in any base that the agent reads.
bool ReadNumber(const std::wstring& word, std::int32_t& mode)
{
    wchar_t* end = nullptr;
    errno = 0;
    mode = std::wcstol(word.c_str(), &end, 0);
    return !word.empty() && *end == L'\0' && errno == 0;
}

bool ReadLimit(const std::wstring& word, std::uint32_t& limit)
{
    constexpr std::int32_t highest = 1000;
    std::int32_t number = 0;
    if (!ReadNumber(word, number) || number < 0 || number > highest)
    {
        return false;
    }
    limit = static_cast<std::uint32_t>(number);
    return true;
}
} // namespace

Options ParseOptions(const std::vector<std::wstring>& words)
{
    Options options;
    for (auto word = words.begin(); word != words.end(); ++word)
    {
        if (*word == L"--help")
        {
            options.task = Task::Help;
        }
        else if (*word == L"--stop")
        {
            options.task = Task::Stop;
        }
        else if (*word == L"--service-only" || *word == L"--no-agent")
        {
            options.withAgent = false;
        }
        else if (*word == L"--until-exit")
        {
            options.untilExit = true;
        }
        else if (*word == L"--crash-limit")
        {
            if (++word == words.end() || !ReadLimit(*word, options.crashLimit))
            {
                options.complaint = L"--crash-limit needs a number from 0 to 1000.";
                break;
            }
        }
        else if (*word != L"--mode")
        {
            options.complaint = L"Unknown option " + *word + L".";
        }
        else if (++word == words.end() || !ReadNumber(*word, options.mode))
        {
            options.complaint = L"--mode needs a number.";
            break;
        }
    }
    return options;
}

const wchar_t* HelpText()
{
    return L"The reference watchdog of the product that the program's file name tells. It starts the host "
           L"service\r\n"
           L"and the agent, starts and stops the service when the agent asks, brings back a service whose "
           L"process\r\n"
           L"has died, and an agent that has crashed. It runs until Ctrl-C or --stop, and leaves service and "
           L"agent\r\n"
           L"as they are then.\r\n"
           L"\r\n"
           L"  --mode N         start mode of the agent, 1 without this option\r\n"
           L"  --crash-limit N  gives the agent up at so many crashes within a minute, 5 without this "
           L"option; "
           L"0 never\r\n"
           L"  --service-only   does not start the agent; also --no-agent\r\n"
           L"  --until-exit     ends with the product's exit event as well, and stops the service then\r\n"
           L"  --stop           ends the watchdog that runs, and waits for its end\r\n"
           L"  --help           this text\r\n"
           L"\r\n"
           L"In the product the watchdog runs beside the service, outside of the sessions, and starts the "
           L"agent in\r\n"
           L"the user's session with the user's rights. This one runs in the session itself.\r\n"
           L"\r\n"
           L"Exit codes: 0 done, 1 failed, 2 wrong option, 3 a watchdog runs already, 4 none runs, 5 it does "
           L"not\r\n"
           L"end, 6 no product of that file name.";
}

} // namespace WatchDog

// An agent for a watchdog to watch over. Adds a line "MODE MILLISECONDS", the second the system's uptime, to
// starts.txt in its folder and then does what agent.txt there says, looking again and again:
//
//     run        runs on
//     crash      signals a crash and ends, as a crash does
//     signal     signals a crash and runs on; says "run" from then on
//     anything else, or no such file: ends without a crash
#include <windows.h>

#include <fstream>
#include <string>

#include "ObjectNames.h"
#include "QxCommon_utility.h"
#include "VzComn_Handle.h"

namespace
{

constexpr DWORD pollMs = 20;

std::string FileOf(const wchar_t* name)
{
    const std::wstring path = QxCommon::AppendName(QxCommon::GetModuleFolder(), name);
    return {path.begin(), path.end()};
}

std::string Behaviour()
{
    std::string word;
    std::ifstream(FileOf(L"agent.txt")) >> word;
    return word;
}

void SignalCrash()
{
    const std::wstring name = ObjectNames::CrashRestartEvent();
    const VzCommon::KernelHandle event(OpenEventW(EVENT_MODIFY_STATE, FALSE, name.c_str()));
    SetEvent(event.Get());
}

} // namespace

int main(int count, char** arguments)
{
    std::ofstream(FileOf(L"starts.txt"), std::ios::app)
        << (count > 1 ? arguments[1] : "") << ' ' << GetTickCount64() << '\n';
    for (;;)
    {
        const std::string behaviour = Behaviour();
        if (behaviour == "crash")
        {
            SignalCrash();
            TerminateProcess(GetCurrentProcess(), 1);
        }
        if (behaviour == "signal")
        {
            std::ofstream(FileOf(L"agent.txt")) << "run";
            SignalCrash();
        }
        else if (behaviour != "run")
        {
            return 0;
        }
        Sleep(pollMs);
    }
}

// Arms the crash handler and dies: Crashing_M FOLDER EVENT PLACE DEATH [small|full]. The dump holds the
// exception alone unless it is to be one of the system's: those take seconds, the full ones a minute of a
// busy machine.
#include <windows.h>

#include <string>

#include "BriefDump.h"
#include "CrashState.h"
#include "Deaths.h"
#include "Places.h"
#include "util_CrashHandler.h"

int wmain(int count, wchar_t** arguments)
{
    constexpr int wrongArguments = 99;
    if (count < 5 || !IsDeath(arguments[4]))
    {
        return wrongArguments;
    }
    InitCrashHandler(0, arguments[2], arguments[1]);
    const std::wstring dump = count > 5 ? arguments[5] : L"";
    s_bFullDump = dump == L"full";
    if (dump.empty())
    {
        ReplaceDumpWriter(&WriteBriefDump);
    }
    return DieIn(arguments[3], arguments[4]) ? 0 : wrongArguments;
}

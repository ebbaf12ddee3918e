// Arms the crash handler and dies: Crashing_M FOLDER EVENT PLACE DEATH [full]. The dump is a small one, which
// takes a tenth of the time, unless it is to be full.
#include <windows.h>

#include <cwchar>

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
    s_bFullDump = count > 5 && std::wcscmp(arguments[5], L"full") == 0;
    return DieIn(arguments[3], arguments[4]) ? 0 : wrongArguments;
}

#include <windows.h>

#include <string_view>

#include "FrwkMode.h"
#include "LibrarySearch.h"
#include "ServiceRun.h"
#include "ServiceSetup.h"
#include "VzComn_LogFront.h"

namespace
{
using SvcHost::ExitCode;
using SvcHost::Say;

constexpr wchar_t help[] =
    L"The reference host service of the product that the program's file name tells.\r\n"
    L"\r\n"
    L"  --install     installs it as a Windows service, started on demand\r\n"
    L"  --start       starts the installed service and waits until it runs\r\n"
    L"  --stop        stops it and waits until it has stopped\r\n"
    L"  --uninstall   stops and removes it\r\n"
    L"  --console     runs in the foreground until Ctrl-C or the product's exit event\r\n"
    L"  --help        this text\r\n"
    L"\r\n"
    L"All but --help need an administrator's rights. Plug-ins are the DLLs of the folder \"plugins\" "
    L"beside\r\n"
    L"the program.\r\n"
    L"\r\n"
    L"Exit codes: 0 done, 1 failed, 2 wrong option, 3 needs an administrator, 4 installed already,\r\n"
    L"5 not installed, 6 running already, 7 not running, 8 not in time, 9 endpoint taken, 10 no product "
    L"of\r\n"
    L"that file name, 11 started by hand without an option.";

struct Option
{
    std::wstring_view name;
    ExitCode (*run)();
};

ExitCode ShowHelp()
{
    return Say(ExitCode::Success, help);
}

constexpr Option options[] = {
    {L"--install", &SvcHost::InstallService},    {L"--start", &SvcHost::StartInstalledService},
    {L"--stop", &SvcHost::StopInstalledService}, {L"--uninstall", &SvcHost::UninstallService},
    {L"--console", &SvcHost::RunInConsole},      {L"--help", &ShowHelp},
};

ExitCode Run(int count, wchar_t** arguments)
{
    if (count > 2)
    {
        return Say(ExitCode::Usage, L"One option at most. Try --help.");
    }
    const std::wstring_view wanted = count == 2 ? arguments[1] : L"";
    if (wanted != L"--help" && QxCommon::GetProductId().empty())
    {
        return Say(ExitCode::NoProduct, L"The program's file name belongs to no product.");
    }
    if (count < 2)
    {
        return SvcHost::RunAsService();
    }
    for (const Option& option : options)
    {
        if (option.name == wanted)
        {
            return option.run();
        }
    }
    return Say(ExitCode::Usage, L"Unknown option " + std::wstring(wanted) + L". Try --help.");
}
} // namespace

int wmain(int count, wchar_t** arguments)
{
    RestrictLibrarySearch();
    VzCommon::InitDebugLog(L"QxSvcHost");
    const ExitCode code = Run(count, arguments);
    VzCommon::ShutdownDebugLog();
    return static_cast<int>(code);
}

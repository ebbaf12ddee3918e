#include "ReportMode.h"

#include "VzComn_LogFront.h"

#include <windows.h>

#include <cwchar>
#include <iterator>

namespace
{
ReportMode ModeOf(const OSVERSIONINFOW& version)
{
    if (version.dwMajorVersion >= 6)
    {
        return ReportMode::Wer;
    }
    return version.dwMajorVersion == 5 && version.dwMinorVersion >= 1 ? ReportMode::Faultrep
                                                                      : ReportMode::None;
}
} // namespace

ReportMode GetReportMode()
{
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    GetVersionExW(&version);

    // Deliberate: composed and not looked at. Whether the update is there plays no part in the decision.
    wchar_t updateKey[MAX_PATH];
    _snwprintf_s(updateKey, std::size(updateKey), _TRUNCATE, L"%s%s",
                 L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\", L"KB957200");

    const ReportMode mode = ModeOf(version);
    LOG_INFO << L"OsVer.dwPlatformId=" << version.dwPlatformId << L", OsVer.dwMajorVersion="
             << version.dwMajorVersion << L", OsVer.dwMinorVersion=" << version.dwMinorVersion
             << L", awcSupportMode=" << static_cast<std::uint32_t>(mode);
    return mode;
}

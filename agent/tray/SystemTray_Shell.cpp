// What the shell refuses.
#include "SystemTray.h"

#include "VzComn_LogFront.h"

namespace
{

// Deliberate: written on failure, read by nobody.
struct LastErrors
{
    DWORD add = 0;
    DWORD modify = 0;
    DWORD remove = 0;
    DWORD focus = 0;
    DWORD setVersion = 0;
} s_lastErrors;

void LogFailure(DWORD message, DWORD error)
{
    switch (message)
    {
    case NIM_ADD:
        s_lastErrors.add = error;
        LOG_ERROR << L"Shell_NotifyIcon (Add to Status Area), GetLastError =" << error;
        break;
    case NIM_MODIFY:
        s_lastErrors.modify = error;
        LOG_ERROR << L"Shell_NotifyIcon (Modify from Status Area), GetLastError =" << error;
        break;
    case NIM_DELETE:
        s_lastErrors.remove = error;
        LOG_ERROR << L"Shell_NotifyIcon (Delete from Status Area), GetLastError =" << error;
        break;
    case NIM_SETFOCUS:
        s_lastErrors.focus = error;
        LOG_ERROR << L"Shell_NotifyIcon (Focus to Status Area), GetLastError =" << error;
        break;
    case NIM_SETVERSION:
        s_lastErrors.setVersion = error;
        LOG_ERROR << L"Shell_NotifyIcon (Set Version), GetLastError =" << error;
        break;
    default: LOG_ERROR << L"Shell_NotifyIcon, GetLastError=" << error << L", dwMessage=" << message; break;
    }
}

void LogRecord(const NOTIFYICONDATAW& data)
{
    LOG_ERROR << L", NID >> hWnd=" << data.hWnd << L", uID=" << data.uID << L", uFlags=" << data.uFlags
              << L", uCallbackMessage=" << data.uCallbackMessage << L", hIcon=" << data.hIcon << L", szTip="
              << data.szTip << L", dwState=" << data.dwState << L", dwStateMask=" << data.dwStateMask
              << L", szInfo=" << data.szInfo << L", uTimeout=" << data.uTimeout << L", szInfoTitle="
              << data.szInfoTitle << L", dwInfoFlags=" << data.dwInfoFlags;
}

} // namespace

BOOL CSystemTray::NotifyShell(DWORD message, NOTIFYICONDATAW* data)
{
    const BOOL taken = Shell_NotifyIconW(message, data);
    if (!taken)
    {
        LogFailure(message, GetLastError());
        if (data != nullptr)
        {
            LogRecord(*data);
        }
    }
    return taken;
}

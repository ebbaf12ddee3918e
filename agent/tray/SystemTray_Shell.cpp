// What the shell refuses.
#include "SystemTray.h"

#include "VzComn_LogFront.h"

#include <algorithm>
#include <iterator>

namespace
{

struct Request
{
    const wchar_t* failure;
    DWORD message;
    DWORD lastError; // Deliberate: written on failure, read by nobody.
};

Request s_requests[] = {
    {L"Shell_NotifyIcon (Add to Status Area), GetLastError =", NIM_ADD, 0},
    {L"Shell_NotifyIcon (Modify from Status Area), GetLastError =", NIM_MODIFY, 0},
    {L"Shell_NotifyIcon (Delete from Status Area), GetLastError =", NIM_DELETE, 0},
    {L"Shell_NotifyIcon (Focus to Status Area), GetLastError =", NIM_SETFOCUS, 0},
    {L"Shell_NotifyIcon (Set Version), GetLastError =", NIM_SETVERSION, 0},
};

void LogFailure(DWORD message, DWORD error)
{
    Request* const request = std::ranges::find(s_requests, message, &Request::message);
    if (request == std::end(s_requests))
    {
        LOG_ERROR << L"Shell_NotifyIcon, GetLastError=" << error << L", dwMessage=" << message;
        return;
    }
    request->lastError = error;
    LOG_ERROR << request->failure << error;
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

// The road from the menu's exit entry to the end of the process.
#include "MainFrm.h"

#include "AgentIds.h"
#include "MailHelper.h"
#include "ObjectNames.h"
#include "QxCommon_service.h"
#include "VzComn_LogFront.h"

namespace
{
// The walk is over before anything is closed: a closing window changes the order that it goes by.
std::vector<HWND> FindConsoleWindows()
{
    const std::wstring marker = ObjectNames::ConsoleProperty();
    std::vector<HWND> windows;
    for (HWND window = GetWindow(GetDesktopWindow(), GW_CHILD); IsWindow(window);
         window = GetWindow(window, GW_HWNDNEXT))
    {
        if (GetPropW(window, marker.c_str()) != nullptr)
        {
            windows.push_back(window);
        }
    }
    return windows;
}

void CloseConsoles()
{
    for (HWND window : FindConsoleWindows())
    {
        SendMessageW(window, WM_CLOSE, 0, 0);
    }
}

void AnnounceClosing()
{
    if (Status::Failed(SendEventToEventCenter(EventId::TrayClosing)))
    {
        // Deliberate: a warning here, an error for every other event.
        LOG_WARN << L"Send event failed...EventId=" << EventId::TrayClosing;
    }
}

void StopService()
{
    constexpr DWORD seconds = 120;
    LOG_INFO << L"Try to stop service if it is running...";
    const AgentStatus status = QxCommon::StopServiceByWatchdog(true, seconds);
    if (Status::Failed(status))
    {
        LOG_ERROR << L"Stop QxSvcHost failed, error = 0x" << std::hex << status;
    }
}
} // namespace

// Nothing here ends the process but the event at the end: the thread that waits on it closes the frame.
void CMainFrame::OnExitTray()
{
    CloseConsoles();
    AnnounceClosing();
    StopService();
    SignalExitEvent();
}

void CMainFrame::SignalExitEvent()
{
    VzCommon::Synchronize::Event event;
    if (CreateExitEvent(event))
    {
        SetEvent(event.Handle());
    }
}

#include "InputInfoHelper.h"

#include "MailHelper.h"
#include "MessageIds.h"
#include "OuterClientHelper.h"
#include "VzComn_LogFront.h"

ActiveWindowState g_activeWindowState;

namespace
{
static_assert(sizeof(LASTINPUTINFO) == 8);

// The answer is dropped.
AgentStatus SendReport(std::uint32_t mailId, const QxCommon::JsonDb& request)
{
    if (g_pClient == nullptr)
    {
        return Status::NoClient;
    }
    QxCommon::JsonDb reply;
    return g_pClient->SendMail2ProductPlugin(Plugin::UserActivity, mailId, request, reply);
}
} // namespace

AgentStatus SendActiveWindow(ActiveWindowState& state)
{
    const HWND window = GetForegroundWindow();
    if (window == nullptr)
    {
        return Status::NoForegroundWindow;
    }
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    if (window == state.window && processId == state.processId)
    {
        return Status::Success;
    }
    QxCommon::JsonDb request;
    request[L"processId"].SetUInt(processId);
    const AgentStatus status = SendReport(Mail::ActiveWindow, request);
    // Deliberate: a report that failed is not tried again.
    state.window = window;
    state.processId = processId;
    return status;
}

AgentStatus SendInputInfo()
{
    LASTINPUTINFO info{};
    info.cbSize = sizeof(info);
    if (GetLastInputInfo(&info) == FALSE)
    {
        const DWORD error = GetLastError();
        LOG_ERROR << L"Failed to call GetLastInputInfo, error code is " << error;
        return Status::FromSystemError(error);
    }
    QxCommon::JsonDb request;
    request[L"lastInputTicket"].SetUInt(info.dwTime);
    return SendReport(Mail::InputInfo, request);
}

#include "InputInfoHelper.h"

#include "MailHelper.h"
#include "MessageIds.h"
#include "OuterClientGuard.h"
#include "OuterClientHelper.h"
#include "VzComn_LogFront.h"

ActiveWindowState g_activeWindowState;

namespace
{
static_assert(sizeof(LASTINPUTINFO) == 8);

// A report of one number. The answer is dropped.
AgentStatus SendReport(std::uint32_t mailId, const wchar_t* name, std::uint32_t value)
{
    if (g_pClient == nullptr)
    {
        return Status::NoClient;
    }
    return Guarded(L"SendReport",
                   [&]
                   {
                       QxCommon::JsonDb request;
                       request[name].SetUInt(value);
                       QxCommon::JsonDb reply;
                       return CVzRpcClientHelper::SendMail2ProductPlugin(Plugin::UserActivity, mailId,
                                                                         request, reply);
                   });
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
    const AgentStatus status = SendReport(Mail::ActiveWindow, L"processId", processId);
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
    return SendReport(Mail::InputInfo, L"lastInputTicket", info.dwTime);
}

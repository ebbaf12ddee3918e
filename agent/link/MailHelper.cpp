#include "MailHelper.h"

#include <new>

#include "CallbackHelper.h"
#include "MessageIds.h"
#include "OuterClientGuard.h"
#include "OuterClientHelper.h"
#include "VzComn_LogFront.h"
#include "VzComn_TerminalService.h"

CVzRpcClientHelper* g_pClient = nullptr;

namespace
{
constexpr wchar_t clientName[] = L"QxSystemTray";

// An event is never held back because the session is not known.
std::uint32_t SessionOfThisProcess()
{
    std::uint32_t sessionId = VzCommon::TerminalService::NoSession;
    std::uint32_t error = 0;
    if (!VzCommon::TerminalService::GetSessionId(sessionId, GetCurrentProcessId(), &error))
    {
        LOG_ERROR << L"VzCommon::TerminalService::GetSessionId failed... ErrorCode = " << error;
        return VzCommon::TerminalService::NoSession;
    }
    return sessionId;
}

AgentStatus MakeClient()
{
    auto* const client = new (std::nothrow) CVzRpcClientHelper(0, RpcClientProduct);
    if (client == nullptr)
    {
        LOG_ERROR << L"Alloc memory for g_pClient failed...";
        return Status::OutOfMemory;
    }
    g_pClient = client;
    return g_pClient->RegisterProcess(clientName, &OnServiceCommand);
}

AgentStatus SendEvent(UINT eventId)
{
    const std::uint32_t sessionId = SessionOfThisProcess();
    QxCommon::JsonDb request;
    request[L"eventId"].SetInt(static_cast<std::int32_t>(eventId));
    request[L"winSessionId"].SetUInt(sessionId);
    LOG_INFO << request.ToStyledString();
    return SendToEventCenter(request);
}

AgentStatus SendMail(const QxCommon::JsonDb& request)
{
    QxCommon::JsonDb reply;
    return CVzRpcClientHelper::SendMail2ProductPlugin(Plugin::EventCenter, Mail::Event, request, reply);
}
} // namespace

AgentStatus RegisterRPC()
{
    FUNCTION_TRACE(L"RegisterRPC");
    if (g_pClient != nullptr)
    {
        return Status::Success; // Deliberate: also when that client's registration failed.
    }
    return Guarded(L"RegisterRPC", &MakeClient);
}

AgentStatus UnRegisterRPC()
{
    FUNCTION_TRACE(L"UnRegisterRPC");
    AgentStatus status = Status::Success;
    if (g_pClient != nullptr)
    {
        status = g_pClient->UnregisterProcess();
        delete g_pClient;
        g_pClient = nullptr;
    }
    return status;
}

AgentStatus SendEventToEventCenter(UINT eventId)
{
    FUNCTION_TRACE(L"SendEventToEventCenter");
    return Guarded(L"SendEventToEventCenter", [eventId] { return SendEvent(eventId); });
}

AgentStatus SendToEventCenter(const QxCommon::JsonDb& request)
{
    if (g_pClient == nullptr)
    {
        return Status::NoClient;
    }
    return Guarded(L"SendToEventCenter", [&request] { return SendMail(request); });
}

bool SendMailForStartScan()
{
    FUNCTION_TRACE(L"SendMailForStartScan");
    return true;
}

bool SendMailForGetResult()
{
    FUNCTION_TRACE(L"SendMailForGetResult");
    return true;
}

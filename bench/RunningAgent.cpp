#include "RunningAgent.h"

#include <algorithm>
#include <vector>

#include "AgentWindow.h"
#include "ControlMails.h"
#include "ControlRequest.h"
#include "QxCommon_JsonDb.h"

namespace
{
constexpr ULONGLONG limit = 30000; // milliseconds
constexpr std::chrono::seconds mailLimit(30);
constexpr int mailsOfStart = 3; // its start, the network, the handle of the service's process

HWND FrameOf(DWORD processId)
{
    const std::vector<AgentWindow> windows = FindAgentWindows();
    const auto own =
        std::find_if(windows.begin(), windows.end(),
                     [processId](const AgentWindow& window) { return window.processId == processId; });
    return own != windows.end() ? own->window : nullptr;
}
} // namespace

RunningAgent::RunningAgent(const std::wstring& stage) : m_service(stage)
{
    if (!m_service.IsReady() || LoadLink(stage) < 0)
    {
        return;
    }
    m_process = StartProgram(stage + L"\\QxSessionAgent_M.exe", L"");
    m_processId = GetProcessId(m_process.Get());
    const ULONGLONG end = GetTickCount64() + limit;
    while (Mails() < mailsOfStart)
    {
        if (GetTickCount64() > end)
        {
            return;
        }
        Sleep(10);
    }
    m_frame = FrameOf(m_processId);
}

RunningAgent::~RunningAgent()
{
    TerminateProcess(m_process.Get(), 0);
    WaitForSingleObject(m_process.Get(), static_cast<DWORD>(limit));
}

int RunningAgent::Mails()
{
    const MailAnswer answer = m_control.Mail(Control::PluginId, Control::Status, L"{}", mailLimit);
    QxCommon::JsonDb status;
    if (answer.Failed() || status.ParseFromString(answer.json) != 0)
    {
        return -1;
    }
    QxCommon::JsonDb clients(status[L"clients"]);
    for (std::uint32_t client = 0; client < clients.Size(); ++client)
    {
        if (QxCommon::UIntOrZero(clients[client][L"processId"]) == m_processId)
        {
            return QxCommon::IntOrZero(clients[client][L"mails"]);
        }
    }
    return -1;
}

std::wstring RunningAgent::Send(const std::wstring& command)
{
    constexpr std::uint32_t timeout = 10000; // milliseconds
    const std::wstring request = ControlRequest::Send(m_processId, command, timeout);
    const MailAnswer answer = m_control.Mail(Control::PluginId, Control::Send, request, mailLimit);
    QxCommon::JsonDb reply;
    return !answer.Failed() && reply.ParseFromString(answer.json) == 0 ? reply[L"reply"].AsString()
                                                                       : std::wstring();
}

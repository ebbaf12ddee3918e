#include "ControlClient.h"

#include <exception>
#include <utility>

#include "MessageIds.h"
#include "QxCommon_utility.h"
#include "RpcDataHandleWrapper.h"
#include "VzComn_Handle.h"
#include "svcLink.h"

namespace
{
// How long a call waits for an endpoint that is busy.
constexpr std::uint32_t busyWaitMs = 1000;

// The message of the mail itself: what is asked, by whom and of whom.
AgentStatus FillRequest(CRpcMsgBuffer& message, std::uint32_t pluginId, std::uint32_t mailId,
                        const std::wstring& request)
{
    const AgentStatus steps[] = {
        message.AddString(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, request.c_str(),
                          static_cast<std::uint32_t>(request.size())),
        message.AddInt(ID_DATA_PRODUCTADAPTER_JSON_FLAG, 0),
        message.AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, GetCurrentProcessId()),
        message.AddUInt(ID_DATA_PRODUCTADAPTER_THREAD_ID, GetCurrentThreadId()),
        message.AddUInt(ID_DATA_PRODUCTADAPTER_PLUGIN_ID, pluginId),
        message.AddUInt(ID_DATA_PRODUCTADAPTER_MAIL_ID, mailId),
    };
    for (const AgentStatus status : steps)
    {
        if (Status::Failed(status))
        {
            return status;
        }
    }
    return Status::Success;
}

// The message around it, which says where the request is nested.
AgentStatus FillCommand(CRpcDataHandle& target, const CRpcMsgBuffer& request)
{
    CRpcDataHandleWrapper outer;
    AgentStatus status = outer.Create();
    if (Status::Failed(status))
    {
        return status;
    }
    status = outer.Message()->AddUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, request.Id());
    if (Status::Failed(status))
    {
        return status;
    }
    status = outer.Message()->AddMessage(request);
    return Status::Failed(status) ? status : outer.CopyTo(target);
}

// A missing result counts as a refusal; a missing reply is no failure.
void ReadAnswer(MailAnswer& answer, const CRpcDataHandle& data)
{
    const CRpcDataHandleWrapper outer(data);
    std::uint32_t result = 0;
    answer.result = outer.Message() != nullptr
                        ? outer.Message()->GetUInt(ID_DATA_PRODUCTADAPTER_COMM_MAILRESULT, result)
                        : Status::InvalidParameter;
    if (Status::Failed(answer.result))
    {
        return;
    }
    answer.result = Status::FromBits(result);
    std::uint32_t index = 0;
    CRpcDataHandleWrapper reply;
    if (!Status::Failed(outer.Message()->GetUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, index)) &&
        !Status::Failed(CRpcDataHandleWrapper::ExtractMessage(index, reply.Handle(), outer.Handle())) &&
        Status::Failed(reply.Get(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, answer.json)))
    {
        answer.json.clear();
    }
}
} // namespace

class ControlClient::Connection
{
public:
    [[nodiscard]] MailAnswer Mail(std::uint32_t pluginId, std::uint32_t mailId,
                                  const std::wstring& request) const
    {
        MailAnswer answer;
        CRpcCommand command{};
        command.uCommandId = RpcCommandId::Mail;
        command.uSecond = 1;
        answer.call = m_manager->CreateUUID(command.szTrackingId, sizeof command.szTrackingId);
        if (!Status::Failed(answer.call))
        {
            answer.call = Fill(command.data, pluginId, mailId, request);
        }
        if (!Status::Failed(answer.call))
        {
            Execute(command, answer);
        }
        m_manager->DestroyDataHandle(&command.data);
        m_manager->DestroyTrackingID(command.szTrackingId);
        return answer;
    }

private:
    static AgentStatus Fill(CRpcDataHandle& target, std::uint32_t pluginId, std::uint32_t mailId,
                            const std::wstring& request)
    {
        CRpcMsgBuffer message(RpcMessageId);
        const AgentStatus status = FillRequest(message, pluginId, mailId, request);
        return Status::Failed(status) ? status : FillCommand(target, message);
    }

    void Execute(const CRpcCommand& command, MailAnswer& answer) const
    {
        CRpcCommandResult result{};
        answer.call = m_manager->ExecuteCommand(command, nullptr, result);
        if (!Status::Failed(answer.call))
        {
            ReadAnswer(answer, result.data);
            m_manager->DestroyDataHandle(&result.data);
        }
    }

    std::unique_ptr<CRpcClientManager> m_manager = std::make_unique<CRpcClientManager>(nullptr, busyWaitMs);
};

// One mail on its way. The library's call has no limit of its own, and a service that hangs must not hang its
// caller: so it has a thread of its own, which outlives the client if it must.
struct ControlClient::Call
{
    std::shared_ptr<Connection> connection;
    std::uint32_t pluginId = 0;
    std::uint32_t mailId = 0;
    std::wstring request;
    MailAnswer answer; // the thread's until it has ended

    static DWORD WINAPI Run(void* parameter) noexcept
    {
        const std::unique_ptr<std::shared_ptr<Call>> owner(static_cast<std::shared_ptr<Call>*>(parameter));
        Call& call = **owner;
        try
        {
            call.answer = call.connection->Mail(call.pluginId, call.mailId, call.request);
        }
        catch (const std::exception&)
        {
            call.answer.call = Status::OutOfMemory;
        }
        call.connection.reset();
        return 0;
    }
};

MailAnswer ControlClient::Mail(std::uint32_t pluginId, std::uint32_t mailId, const std::wstring& request,
                               std::chrono::milliseconds limit)
{
    if (m_connection == nullptr)
    {
        m_connection = std::make_shared<Connection>();
    }
    const auto call = std::make_shared<Call>();
    call->connection = m_connection;
    call->pluginId = pluginId;
    call->mailId = mailId;
    call->request = request;
    auto parameter = std::make_unique<std::shared_ptr<Call>>(call);
    const VzCommon::KernelHandle thread(CreateThread(nullptr, 0, &Call::Run, parameter.get(), 0, nullptr));
    MailAnswer answer;
    if (!thread)
    {
        answer.call = Status::FromSystemError(GetLastError());
        return answer;
    }
    static_cast<void>(parameter.release()); // the thread's now
    if (WaitForSingleObject(thread.Get(), static_cast<DWORD>(limit.count())) == WAIT_OBJECT_0)
    {
        answer = std::move(call->answer);
    }
    else
    {
        answer.call = Status::FromSystemError(ERROR_TIMEOUT);
    }
    if (Status::Failed(answer.call))
    {
        m_connection.reset();
    }
    return answer;
}

AgentStatus LoadLink(const std::wstring& folder)
{
    const std::wstring path = QxCommon::AppendName(folder, L"svcLink.dll");
    // Deliberate: stays loaded; the delayed calls find it by its name.
    return LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH) != nullptr
               ? Status::Success
               : Status::FromSystemError(GetLastError());
}

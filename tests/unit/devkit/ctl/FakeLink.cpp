#include "FakeLink.h"

#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

#include "MessageIds.h"
#include "RpcDataHandleWrapper.h"

namespace
{
struct State
{
    std::mutex lock;
    std::shared_ptr<FakeLink::Responder> responder; // a call under way outlives its test
    std::vector<FakeLink::Sent> calls;
    std::int32_t trackingIdStatus = 0;
    std::atomic<int> managers = 0;
    std::atomic<int> liveManagers = 0;
    std::atomic<int> trackingIds = 0;
};

State g_state;

FakeLink::Sent Read(const CRpcCommand& command)
{
    FakeLink::Sent sent;
    sent.commandId = command.uCommandId;
    sent.second = command.uSecond;
    sent.trackingId = command.szTrackingId;
    sent.executingThread = GetCurrentThreadId();
    const CRpcDataHandleWrapper outer(command.data);
    sent.outerId = outer.Message()->Id();
    static_cast<void>(outer.Message()->GetUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, sent.param));
    CRpcDataHandleWrapper inner;
    static_cast<void>(CRpcDataHandleWrapper::ExtractMessage(sent.param, inner.Handle(), outer.Handle()));
    sent.innerId = inner.Message()->Id();
    static_cast<void>(inner.Get(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, sent.request));
    const std::pair<std::uint32_t, std::uint32_t*> numbers[] = {
        {ID_DATA_PRODUCTADAPTER_JSON_FLAG, &sent.jsonFlag},
        {ID_DATA_PRODUCTADAPTER_PROCESS_ID, &sent.processId},
        {ID_DATA_PRODUCTADAPTER_THREAD_ID, &sent.threadId},
        {ID_DATA_PRODUCTADAPTER_PLUGIN_ID, &sent.pluginId},
        {ID_DATA_PRODUCTADAPTER_MAIL_ID, &sent.mailId},
    };
    for (const auto& [id, number] : numbers)
    {
        static_cast<void>(inner.Message()->GetUInt(id, *number));
    }
    return sent;
}

void Write(CRpcDataHandle& target, const FakeLink::Reply& reply)
{
    CRpcDataHandleWrapper outer;
    outer.Create();
    if (reply.hasResult)
    {
        outer.Message()->AddInt(ID_DATA_PRODUCTADAPTER_COMM_MAILRESULT,
                                static_cast<std::int32_t>(reply.result));
    }
    if (reply.hasParam)
    {
        outer.Message()->AddUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, RpcMessageId);
    }
    CRpcMsgBuffer inner(RpcMessageId);
    if (reply.hasJson)
    {
        inner.AddString(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, reply.json.c_str(),
                        static_cast<std::uint32_t>(reply.json.size()));
    }
    if (reply.hasMessage)
    {
        outer.Message()->AddMessage(inner);
    }
    outer.CopyTo(target);
}
} // namespace

class CRpcClientManager::Implementation
{
};

CRpcClientManager::CRpcClientManager(void* /*pReserved*/, std::uint32_t /*uTimeout*/)
    : m_szTrackingId(), m_pImplementation(nullptr)
{
    ++g_state.managers;
    ++g_state.liveManagers;
}

CRpcClientManager::~CRpcClientManager()
{
    --g_state.liveManagers;
}

std::int32_t CRpcClientManager::ExecuteCommand(const CRpcCommand& command, Callback /*pCallback*/,
                                               CRpcCommandResult& result)
{
    const FakeLink::Sent sent = Read(command);
    std::shared_ptr<FakeLink::Responder> responder;
    {
        const std::lock_guard guard(g_state.lock);
        g_state.calls.push_back(sent);
        responder = g_state.responder;
    }
    const FakeLink::Reply reply = (*responder)(sent);
    if (reply.call >= 0)
    {
        Write(result.data, reply);
    }
    return reply.call;
}

std::int32_t CRpcClientManager::CreateUUID(char* pszBuffer, std::uint32_t uSize)
{
    const std::string id = "00000000-0000-0000-0000-" + std::to_string(100000000000 + ++g_state.trackingIds);
    strcpy_s(pszBuffer, uSize, id.c_str());
    const std::lock_guard guard(g_state.lock);
    return g_state.trackingIdStatus;
}

std::int32_t CRpcClientManager::DestroyDataHandle(CRpcDataHandle* pHandle)
{
    return CRpcDataHandleWrapper::Release(pHandle);
}

std::int32_t CRpcClientManager::DestroyTrackingID(const char* /*pszTrackingId*/)
{
    return 0;
}

std::int32_t CRpcClientManager::DestroyContext(const CRpcContext& /*context*/)
{
    return 0;
}

FakeLink::FakeLink(Responder responder)
{
    const std::lock_guard guard(g_state.lock);
    g_state.responder = std::make_shared<Responder>(std::move(responder));
    g_state.calls.clear();
    g_state.trackingIdStatus = 0;
    g_state.managers = 0;
}

FakeLink::~FakeLink() = default;

std::vector<FakeLink::Sent> FakeLink::Calls() const
{
    const std::lock_guard guard(g_state.lock);
    return g_state.calls;
}

int FakeLink::Managers() const
{
    return g_state.managers;
}

int FakeLink::LiveManagers() const
{
    return g_state.liveManagers;
}

void FakeLink::FailTrackingIds(std::int32_t status)
{
    const std::lock_guard guard(g_state.lock);
    g_state.trackingIdStatus = status;
}

#include "FakeLink.h"

#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <stdexcept>
#include <thread>

#include "LinkLibrary.h"
#include "MessageBytes.h"
#include "OuterClientState.h"
#include "RpcDataHandleWrapper.h"
#include "ScarceMemory.h"

namespace
{
struct LinkState
{
    mutable std::mutex lock;
    std::condition_variable released;
    std::map<std::uint32_t, std::vector<Answer>> answers;
    std::map<std::uint32_t, std::function<void()>> actions;
    std::string process = "0";
    std::uint32_t heldId = 0xFFFFFFFF;
    std::size_t held = 0;
    std::vector<SentCommand> commands;
    std::vector<std::string> calls;
    std::vector<CRpcDataHandle> left;
    std::size_t managers = 0;
    unsigned uuids = 0;
    CRpcClientManager::Callback callback = nullptr;
};

LinkState& State()
{
    static LinkState& state = *new LinkState;
    return state;
}

void Note(const std::string& call)
{
    const std::lock_guard guard(State().lock);
    State().calls.push_back(call);
}

std::string BytesOf(const CRpcDataHandle& data)
{
    if (data.pMessage == nullptr)
    {
        return {};
    }
    const std::span<const std::uint8_t> bytes = (*data.pMessage)->Bytes();
    return {bytes.begin(), bytes.end()};
}

void Fill(CRpcDataHandle& data, const std::string& bytes)
{
    if (bytes.empty())
    {
        return;
    }
    auto message = boost::shared_ptr<CRpcMsgBuffer>(new CRpcMsgBuffer(0));
    message->Assign(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                    static_cast<std::uint32_t>(bytes.size()));
    data = {0, 0x10014, new boost::shared_ptr<CRpcMsgBuffer>(message)};
}

SentCommand Describe(const CRpcCommand& command, bool withCallback, const CRpcClientManager* manager)
{
    CRpcCommand copy = command;
    copy.data.pMessage = nullptr;
    std::memset(copy.szTrackingId, 0, sizeof(copy.szTrackingId));
    const char* bytes = reinterpret_cast<const char*>(&copy);
    SentCommand sent;
    sent.id = command.uCommandId;
    sent.second = command.uSecond;
    sent.trackingId = command.szTrackingId;
    sent.record.assign(bytes, sizeof(copy));
    sent.message = BytesOf(command.data);
    sent.withCallback = withCallback;
    sent.manager = manager;
    sent.thread = GetCurrentThreadId();
    sent.tick = GetTickCount64();
    if (command.data.pMessage != nullptr)
    {
        sent.buffer = *command.data.pMessage;
    }
    return sent;
}

bool AsksForProcess(const SentCommand& command)
{
    return command.message.find(Bytes().U32(0xE0001).U32(7).U32(4).U32(0x4E000C).text) != std::string::npos;
}

// With the state's lock held.
Answer NextAnswer(const SentCommand& command)
{
    std::vector<Answer>& answers = State().answers[command.id];
    if (!answers.empty())
    {
        const Answer answer = answers.front();
        if (answers.size() > 1)
        {
            answers.erase(answers.begin());
        }
        return answer;
    }
    if (command.id != 0x2051)
    {
        return {Status::Success, command.id == 0 ? "" : ResultMessage(0x20FF0000)};
    }
    return {Status::Success,
            MailAnswer(0x20FF0000, AsksForProcess(command) ? "{\"handle\":" + State().process + "}" : "{}")};
}
} // namespace

FakeLink::FakeLink() = default;

void FakeLink::AnswerTo(std::uint32_t commandId, std::vector<Answer> answers)
{
    const std::lock_guard guard(State().lock);
    State().answers[commandId] = std::move(answers);
}

void FakeLink::GiveProcess(const std::string& handle)
{
    const std::lock_guard guard(State().lock);
    State().process = handle;
}

void FakeLink::Before(std::uint32_t commandId, std::function<void()> action)
{
    const std::lock_guard guard(State().lock);
    State().actions[commandId] = std::move(action);
}

void FakeLink::Hold(std::uint32_t commandId)
{
    const std::lock_guard guard(State().lock);
    State().heldId = commandId;
}

void FakeLink::LetGo()
{
    const std::lock_guard guard(State().lock);
    State().heldId = 0xFFFFFFFF;
    State().released.notify_all();
}

std::size_t FakeLink::Held() const
{
    const std::lock_guard guard(State().lock);
    return State().held;
}

std::vector<SentCommand> FakeLink::Commands() const
{
    const std::lock_guard guard(State().lock);
    return State().commands;
}

std::vector<SentCommand> FakeLink::Commands(std::uint32_t id) const
{
    std::vector<SentCommand> commands = Commands();
    std::erase_if(commands, [id](const SentCommand& command) { return command.id != id; });
    return commands;
}

SentCommand FakeLink::Only(std::uint32_t id) const
{
    const std::vector<SentCommand> commands = Commands(id);
    if (commands.size() != 1)
    {
        throw std::runtime_error(std::to_string(commands.size()) + " commands instead of one");
    }
    return commands.front();
}

std::vector<std::string> FakeLink::Calls() const
{
    const std::lock_guard guard(State().lock);
    return State().calls;
}

void FakeLink::ForgetCalls()
{
    const std::lock_guard guard(State().lock);
    State().calls.clear();
    State().commands.clear();
}

CallOutcome FakeLink::Call(const std::string& message) const
{
    CallOutcome outcome;
    const CRpcClientManager::Callback callback = Callback();
    std::thread(
        [&]
        {
            CRpcCommandResult in{};
            Fill(in.data, message);
            CRpcCommandResult out{};
            outcome.returned = callback(ManagerTrackingId, in, out);
            outcome.status = out.iStatus;
            outcome.messageId = out.uMessageId;
            outcome.message = BytesOf(out.data);
            outcome.data = {out.data.uReserved, out.data.uMessageId, nullptr};
            outcome.thread = GetCurrentThreadId();
            CRpcDataHandleWrapper::Release(&in.data);
            CRpcDataHandleWrapper::Release(&out.data);
        })
        .join();
    return outcome;
}

CRpcClientManager::Callback FakeLink::Callback() const
{
    const std::lock_guard guard(State().lock);
    return State().callback;
}

std::size_t FakeLink::LivingManagers() const
{
    const std::lock_guard guard(State().lock);
    return State().managers;
}

FakeLink& TheLink()
{
    static FakeLink link;
    return link;
}

void ResetLink()
{
    TheLink() = FakeLink();
    {
        const std::lock_guard guard(State().lock);
        State().answers.clear();
        State().actions.clear();
        State().process = "0";
        State().heldId = 0xFFFFFFFF;
        State().commands.clear();
        State().calls.clear();
        State().managers = 0;
        State().callback = nullptr;
        for (CRpcDataHandle& handle : State().left)
        {
            CRpcDataHandleWrapper::Release(&handle);
        }
        State().left.clear();
    }
    g_bProductInited = false;
    g_bProcessRegistered = false;
    g_pRpcManager.reset();
    g_noManagerStatus = Status::Failure;
    g_fnCallback = nullptr;
    g_strTrackingID.clear();
    g_rpcContext = {};
    std::memset(g_rpcContextSpare, 0, sizeof(g_rpcContextSpare));
    TheLink().ForgetCalls();
    const std::lock_guard guard(State().lock);
    State().managers = 0;
}

AgentStatus LoadLinkLibrary()
{
    return TheLink().load;
}

// The messages that the library has taken over, until its manager goes.
class CRpcClientManager::Implementation
{
public:
    std::vector<CRpcDataHandle> kept; // guarded by the state's lock
};

CRpcClientManager::CRpcClientManager(void* pReserved, std::uint32_t uTimeout)
{
    const Plenty memory;
    if (TheLink().noMemoryForManager)
    {
        throw std::bad_alloc();
    }
    m_pImplementation = new Implementation;
    Note("new " + std::string(pReserved == nullptr ? "null" : "pointer") + " " + std::to_string(uTimeout));
    std::memcpy(m_szTrackingId, ManagerTrackingId, sizeof(m_szTrackingId));
    const std::lock_guard guard(State().lock);
    ++State().managers;
}

CRpcClientManager::~CRpcClientManager()
{
    const Plenty memory;
    Note("delete");
    for (CRpcDataHandle& handle : m_pImplementation->kept)
    {
        CRpcDataHandleWrapper::Release(&handle);
    }
    delete m_pImplementation;
    const std::lock_guard guard(State().lock);
    --State().managers;
}

std::int32_t CRpcClientManager::ExecuteCommand(const CRpcCommand& command, Callback pCallback,
                                               CRpcCommandResult& result)
{
    const Plenty memory;
    const SentCommand sent = Describe(command, pCallback != nullptr, this);
    static const CRpcCommandResult zero{};
    const bool clean = std::memcmp(&result, &zero, sizeof(zero)) == 0;
    Note("execute " + Hex(command.uCommandId) + (clean ? "" : " with a used result"));
    Answer answer;
    std::function<void()> action;
    {
        std::unique_lock guard(State().lock);
        State().commands.push_back(sent);
        if (pCallback != nullptr)
        {
            State().callback = pCallback;
        }
        ++State().held;
        State().released.wait(guard, [&command] { return State().heldId != command.uCommandId; });
        --State().held;
        answer = NextAnswer(sent);
        action = State().actions[command.uCommandId];
    }
    if (action)
    {
        action();
    }
    std::memset(result.opaque, 0x5A, sizeof(result.opaque));
    Fill(result.data, answer.message);
    const bool isTaken = command.uCommandId == 0x2052 || command.uCommandId == 0x2053;
    if (isTaken && answer.status != Status::UnknownClient)
    {
        const std::lock_guard guard(State().lock);
        m_pImplementation->kept.insert(m_pImplementation->kept.end(), {command.data, result.data});
    }
    return answer.status;
}

std::int32_t CRpcClientManager::CreateUUID(char* pszBuffer, std::uint32_t uSize)
{
    const Plenty memory;
    Note("uuid " + std::to_string(uSize));
    if (Status::Failed(TheLink().createUuid))
    {
        return TheLink().createUuid;
    }
    const std::lock_guard guard(State().lock);
    const std::string number = std::to_string(++State().uuids);
    const std::string uuid = std::string(RpcUuidSize - 1 - number.size(), 'u') + number;
    std::memcpy(pszBuffer, uuid.c_str(), RpcUuidSize);
    return Status::Success;
}

std::int32_t CRpcClientManager::DestroyDataHandle(CRpcDataHandle* pHandle)
{
    const Plenty memory;
    Note(pHandle->pMessage == nullptr ? "destroy nothing" : "destroy data");
    if (TheLink().leavesHandles)
    {
        State().left.push_back(*pHandle);
        return Status::Success;
    }
    return CRpcDataHandleWrapper::Release(pHandle);
}

std::int32_t CRpcClientManager::DestroyTrackingID(const char* pszTrackingId)
{
    const Plenty memory;
    Note("destroy id " + std::string(pszTrackingId));
    return TheLink().destroyTrackingId;
}

std::int32_t CRpcClientManager::DestroyContext(const CRpcContext& /*context*/)
{
    Note("destroy context");
    return TheLink().destroyContext;
}

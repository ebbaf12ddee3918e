#include "SpecialEngineHost.h"

#include <boost/smart_ptr/make_shared.hpp>

#include <memory>
#include <utility>

#include "EngineAction.h"
#include "EngineCall.h"
#include "EngineOperation.h"
#include "QxCommon_utility.h"
#include "VzComn_Handle.h"
#include "VzComn_LogFront.h"

CSpecialEngineHost g_specialEngineHost;

namespace
{
AgentStatus DeleteEngine(ISpecialEngine* engine) noexcept
{
    return CallEngine(L"end",
                      [engine]
                      {
                          delete engine;
                          return Status::Success;
                      });
}

// For an engine that nobody has a reference to yet.
struct EndNewEngine
{
    void operator()(ISpecialEngine* engine) const noexcept { DeleteEngine(engine); }
};

// Ends an engine with its last reference, which a long operation may be the one to hold.
struct EndEngine
{
    // Also read by the command that asked for the end.
    boost::shared_ptr<std::atomic<AgentStatus>> status;

    void operator()(ISpecialEngine* engine) const noexcept { status->store(DeleteEngine(engine)); }
};

// A reference of one command to the engines' code: the process may end, and the host with it, while an
// operation is under way. Nobody waits for that.
VzCommon::ModuleHandle HoldLibraryOf(CreateSpecialEngineFunction* factory)
{
    HMODULE library = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<const wchar_t*>(factory),
                       &library);
    return VzCommon::ModuleHandle(library);
}
} // namespace

CSpecialEngineHost::~CSpecialEngineHost()
{
    m_bInited = 0;
    m_engines.clear(); // their code goes with the library
}

void CSpecialEngineHost::Initialize()
{
    if (m_bInited != 0)
    {
        return;
    }
    const std::wstring path = QxCommon::AppendName(QxCommon::GetProductPath(), L"Quenta.dll");
    std::uint32_t error = 0;
    // Deliberate: a library without the factory stays loaded, and each later attempt is refused here.
    if (!m_library.Load(path.c_str(), nullptr, &error))
    {
        LOG_DEBUG << L"Failed to load Quenta.dll, [wstrQuentaDll=" << path << L"][dwError=" << error << L"]";
        return;
    }
    const bool inited = m_library.Resolve(CreateSpecialEngineName, m_pfnCreateSpecialEngine, &error);
    m_bInited = inited ? 1 : 0;
    LOG_DEBUG << L"GetProcAddress result: [m_bInited=" << inited << L"][dwError=" << error << L"]";
}

AgentStatus CSpecialEngineHost::Dispatch(QxCommon::JsonDb& command)
{
    FUNCTION_TRACE(L"CSpecialEngineHost::Dispatch");
    if (VzCommon::IsLogEnabledFor(VzCommon::LogLevel::Debug))
    {
        LOG_DEBUG << L"jsonData:" << command.ToStyledString();
    }
    if (m_bInited == 0)
    {
        command[L"retCode"].SetInt(Status::NoEngineLibrary);
        return Status::NoEngineLibrary;
    }
    const VzCommon::ModuleHandle library = HoldLibraryOf(m_pfnCreateSpecialEngine);
    const std::uint32_t action = QxCommon::UIntOrZero(command[L"action"]);
    AgentStatus status = Status::Success;
    QxCommon::JsonDb data;
    if (action == EngineAction::Create)
    {
        status = Create(command, data);
    }
    else
    {
        status = Act(action, command, data);
        command.Clear();
    }
    command[L"data"].Assign(data);
    command[L"retCode"].SetInt(status);
    return status;
}

AgentStatus CSpecialEngineHost::Create(QxCommon::JsonDb& command, QxCommon::JsonDb& data)
{
    const std::wstring itemId = command[L"itemId"].AsString();
    const std::wstring sessionId = command[L"sessionId"].AsString();
    IEngine* made = nullptr;
    AgentStatus status = CallEngine(L"CreateSpecialEngine",
                                    [&]
                                    {
                                        made = m_pfnCreateSpecialEngine(itemId, sessionId);
                                        return Status::Success;
                                    });
    if (Status::Failed(status))
    {
        return status;
    }
    auto* const engine = dynamic_cast<ISpecialEngine*>(made);
    if (engine == nullptr)
    {
        LOG_ERROR << L"Failed to create special engine, [wstrPtnId=" << itemId << L"][wstrSessionId="
                  << sessionId << L"]";
        return Status::OutOfMemory;
    }
    // Deliberate: an engine that does not come up is left alone, alive and unreachable.
    std::int32_t result = 0;
    status = CallEngine(L"Initialize",
                        [&]
                        {
                            result = engine->Initialize();
                            return Status::Success;
                        });
    if (Status::Failed(status))
    {
        return status;
    }
    if (result < 0)
    {
        LOG_ERROR << L"Failed to initialize special engine, [wstrPtnId=" << itemId << L"]";
        return Status::InitializeFailed;
    }
    return Store(engine, data);
}

AgentStatus CSpecialEngineHost::Store(ISpecialEngine* engine, QxCommon::JsonDb& data)
{
    // For lack of memory before there is a reference, and for a host that has ended meanwhile.
    std::unique_ptr<ISpecialEngine, EndNewEngine> held(engine);
    if (m_bInited == 0)
    {
        return Status::NoEngineLibrary;
    }
    const auto ended = boost::make_shared<std::atomic<AgentStatus>>(Status::Success);
    const Engine owned(held.release(), EndEngine{ended});
    const std::uint32_t trackId = m_nNextTrackId.fetch_add(1);
    data[L"trackId"].SetUInt(trackId); // before the engine is kept: nobody could end one whose id is lost
    m_engines[trackId] = owned;
    return Status::Success;
}

AgentStatus CSpecialEngineHost::Act(std::uint32_t action, QxCommon::JsonDb& command, QxCommon::JsonDb& data)
{
    std::wstring fixSessionId;
    if (command.HasMember(L"fixSessionId"))
    {
        fixSessionId = command[L"fixSessionId"].AsString();
    }
    std::uint32_t trackId = 0;
    if (command.HasMember(L"trackId"))
    {
        trackId = QxCommon::UIntOrZero(command[L"trackId"]);
    }
    const auto found = m_engines.find(trackId);
    if (found == m_engines.end())
    {
        return Status::UnknownTrackId;
    }
    Engine engine = found->second;
    if (action == EngineAction::End)
    {
        return End(trackId, std::move(engine));
    }
    const EngineOperation* const operation = FindEngineOperation(action);
    if (operation == nullptr)
    {
        LOG_ERROR << L"Invalid parameters, [nAction=" << action << L"][nTrackId=" << trackId
                  << L"][wstrFixSessionId=" << fixSessionId << L"]";
        return Status::InvalidParameter;
    }
    return CallEngine(operation->name,
                      [&] {
                          return operation->run(*engine, EngineArguments{fixSessionId, command, data});
                      });
}

AgentStatus CSpecialEngineHost::End(std::uint32_t trackId, Engine engine)
{
    const auto status = boost::get_deleter<EndEngine>(engine)->status;
    m_engines.erase(trackId);
    engine.reset();
    return status->load();
}

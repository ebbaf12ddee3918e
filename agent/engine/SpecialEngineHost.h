#pragma once

#include "Quenta.h"
#include "VzComn_Library.h"

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <cstdint>
#include <map>

// Loads the engine library on demand, keeps the engines that the service has created, and hands each of the
// service's actions to the engine of its track id. Engines survive the service and the session's lock; they
// end by the service's word or with the process.
class CSpecialEngineHost
{
public:
    CSpecialEngineHost() = default;

    // Ends the engines, then frees their library. A command that is under way on another thread meanwhile
    // keeps its engine and the library until it is through.
    ~CSpecialEngineHost();

    CSpecialEngineHost(const CSpecialEngineHost&) = delete;
    CSpecialEngineHost& operator=(const CSpecialEngineHost&) = delete;

    // Makes sure that the engine library is loaded; a failure shows in Dispatch. One thread at a time.
    void Initialize();

    // Executes one action and makes the reply of the command: "data" and "retCode" and, if it created an
    // engine or there is no library, the command's own members. What an engine throws becomes a status. Takes
    // as long as the engine does. One command at a time.
    AgentStatus Dispatch(QxCommon::JsonDb& command);

private:
    using Engine = boost::shared_ptr<ISpecialEngine>;

    AgentStatus Create(QxCommon::JsonDb& command, QxCommon::JsonDb& data);
    AgentStatus Store(ISpecialEngine* engine, QxCommon::JsonDb& data);
    AgentStatus Act(std::uint32_t action, QxCommon::JsonDb& command, QxCommon::JsonDb& data);
    AgentStatus End(std::uint32_t trackId, Engine engine);

    std::atomic<std::uint32_t> m_bInited{0};
    std::atomic<std::uint32_t> m_nNextTrackId{1};
    CreateSpecialEngineFunction* m_pfnCreateSpecialEngine = nullptr;
    VzCommon::Library::Base m_library;
    // Deliberate: no lock. The service sends one command at a time; an engine's operation holds a reference
    // of its own and touches the map no more, so that a long one stands in nobody's way.
    std::map<std::uint32_t, Engine> m_engines;
};

// The one of the process.
extern CSpecialEngineHost g_specialEngineHost;

#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <list>
#include <string>

#include "QxCommon_JsonDb.h"
#include "RpcDataHandleWrapper.h"
#include "VzComn_AgentStatus.h"
#include "VzComn_Handle.h"
#include "svcLink.h"

// What kind of client this is, and of which version. Kept as text; nothing reads it.
inline constexpr wchar_t RpcClientProduct[] = L"c11t1100v1.1.0l1p1r1o1";

// This process as a client of the host service: registers it, sends its mails, hands the service's commands
// to one function, and registers again when the service has died. All objects share one connection, which the
// last one takes down. A failure is returned as a status; nothing is thrown.
//
// What needs no object is static: the thread that reconnects may outlive its helper.
class CVzRpcClientHelper
{
public:
    // Runs on a thread of the link's library and changes the command in place: what it leaves is the reply.
    using CommandFunction = AgentStatus (*)(QxCommon::JsonDb& command);

    // uReserved is 0 and not used.
    CVzRpcClientHelper(std::uint32_t uReserved, const std::wstring& product);

    // The thread that watches the service ends by itself: nothing waits for it.
    virtual ~CVzRpcClientHelper();

    CVzRpcClientHelper(const CVzRpcClientHelper&) = delete;
    CVzRpcClientHelper& operator=(const CVzRpcClientHelper&) = delete;

    // Makes the client manager. Deliberate: Status::Failure on success, which callers ignore.
    static AgentStatus InitProduct(std::uint32_t uFirst, std::uint32_t uSecond, const std::wstring& product);

    // Ends the client manager when this is the last object; a call that is under way keeps it until it is
    // back. Deliberate: Status::InvalidParameter after a normal end.
    static AgentStatus UninitProduct();

    // Registers the process under a name, and watches the service's process from then on.
    AgentStatus RegisterProcess(const wchar_t* clientName, CommandFunction callback);

    // Does not wait for a command that is being executed.
    AgentStatus UnregisterProcess();

    static AgentStatus EraseAllCallbackOfTrackingID();

    // Send a mail to a plug-in of the service and wait for the answer. Any thread. A failure that the service
    // reports is the result, and data then still holds the answer.
    static AgentStatus SendMail2ProductPlugin(std::uint32_t pluginId, std::uint32_t mailId,
                                              CRpcDataHandleWrapper& data);
    static AgentStatus SendMail2ProductPlugin(std::uint32_t pluginId, std::uint32_t mailId,
                                              const QxCommon::JsonDb& request, std::wstring& reply);

    // A reply that is no JSON leaves reply as it was.
    static AgentStatus SendMail2ProductPlugin(std::uint32_t pluginId, std::uint32_t mailId,
                                              const QxCommon::JsonDb& request, QxCommon::JsonDb& reply);

    // Runs one command of the service. Called by the link's library on its own threads.
    static std::int32_t RegisterProcessCallback(const char* trackingId, const CRpcCommandResult& in,
                                                CRpcCommandResult& out);

    // Thread function; the argument is the helper.
    static DWORD WINAPI ReconnectProc(void* helper);

private:
    // Owned by the helper and by the thread that waits for it. Signalled when the registration is over or the
    // helper goes: a thread that holds g_stateLock and finds the event not signalled, and has not taken the
    // signal before, has a living helper. Without an event the thread ends before it looks at its helper.
    using StopEvent = boost::shared_ptr<VzCommon::KernelHandle>;

    // A registration whose thread has not begun yet.
    struct Watch
    {
        const CVzRpcClientHelper* helper = nullptr; // Weak.
        StopEvent stop;
    };

    // The memory of a registration, had before the service is told: what the service has accepted is watched.
    struct Provision
    {
        Provision(const CVzRpcClientHelper& helper, const wchar_t* name, const CRpcCommand& command);

        std::wstring clientName;
        std::string trackingId;
        std::list<Watch> watch; // of one
    };

    static AgentStatus MakeManager();
    static AgentStatus EndManager();
    static AgentStatus DestroyContext();

    // watched is what the calling thread waits for; empty if the caller keeps the helper alive. A helper that
    // went during the call is not touched, and the result is then a failure.
    static AgentStatus Register(CVzRpcClientHelper& helper, const wchar_t* clientName,
                                CommandFunction callback, const StopEvent& watched);
    static AgentStatus SendRegistration(CVzRpcClientHelper& helper, const wchar_t* clientName,
                                        const StopEvent& watched);
    static AgentStatus SendUnregistration();

    // The helper goes: a registration that is still watched goes with it.
    void LeaveRegistration();

    // Guarded by g_stateLock.
    void StartWatching(Provision& provision);
    void StopWatching();
    static bool IsStopped(const StopEvent& stop);
    static std::list<Watch>& PendingWatches();

    static bool TakePendingWatch(const CVzRpcClientHelper& helper, Watch& watch);
    static DWORD WatchService(CVzRpcClientHelper& helper);
    static void Reconnect(CVzRpcClientHelper& helper, const StopEvent& stop);
    static AgentStatus RegisterAnew(CVzRpcClientHelper& helper, const StopEvent& stop);
    static bool RenewConnection(const CVzRpcClientHelper& helper, const StopEvent& stop,
                                std::wstring& clientName);

    static std::uint32_t m_uiRefCnt; // live objects; guarded by g_rpcLock

    std::wstring m_wstrClientName; // of the last successful registration; guarded by g_stateLock
    bool m_bReserved = false;
    std::uint32_t m_uiTimeout = 30;
    StopEvent m_hStopEvent; // guarded by g_stateLock
};

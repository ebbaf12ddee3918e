// The thread of a registration: waits for the death of the service's process and registers again.
#include "OuterClientLog.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>
#include <list>

#include <boost/make_shared.hpp>

#include "MessageIds.h"
#include "OuterClientGuard.h"
#include "OuterClientHelper.h"
#include "OuterClientState.h"

namespace
{
constexpr DWORD retryPause = 500; // milliseconds
constexpr DWORD exitFailure = 0xFFFFFFFF;

// The service duplicates the handle of its process into this one, which may not open it by itself. 0 if it
// does not say.
std::uint64_t AskForServiceProcess()
{
    QxCommon::JsonDb request;
    request[L"pid"].SetUInt(GetCurrentProcessId());
    QxCommon::JsonDb reply;
    CVzRpcClientHelper::SendMail2ProductPlugin(Plugin::HostProcess, Mail::DuplicateHostHandle, request,
                                               reply);
    return UInt64OrZero(reply[L"handle"]);
}
} // namespace

std::list<CVzRpcClientHelper::Watch>& CVzRpcClientHelper::PendingWatches()
{
    static auto& pending = *new std::list<Watch>;
    return pending;
}

CVzRpcClientHelper::Provision::Provision(const CVzRpcClientHelper& helper, const wchar_t* name,
                                         const CRpcCommand& command)
    : clientName(name),
      trackingId(command.szTrackingId, strnlen(command.szTrackingId, sizeof(command.szTrackingId))),
      watch{{&helper, boost::make_shared<VzCommon::KernelHandle>()}}
{
    PendingWatches(); // made at the first use
}

void CVzRpcClientHelper::StartWatching(Provision& provision)
{
    const StopEvent& stop = provision.watch.front().stop;
    stop->Reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    if (!*stop)
    {
        LOG_ERROR << L"CreateEventW failed, the service is not watched, err=" << GetLastError();
    }
    m_wstrClientName.swap(provision.clientName);
    StopWatching(); // the registration that this one replaces
    m_hStopEvent = stop;
    PendingWatches().splice(PendingWatches().end(), provision.watch);
    const VzCommon::KernelHandle thread(CreateThread(nullptr, 0, &ReconnectProc, this, 0, nullptr));
    if (!thread)
    {
        LOG_ERROR << L"CreateThread failed, the service is not watched, err=" << GetLastError();
        PendingWatches().pop_back();
    }
}

void CVzRpcClientHelper::StopWatching()
{
    if (m_hStopEvent)
    {
        SetEvent(m_hStopEvent->Get());
        m_hStopEvent.reset();
    }
}

void CVzRpcClientHelper::LeaveRegistration()
{
    bool isWatched = false;
    {
        const StateLockGuard lock(&g_stateLock);
        isWatched = m_hStopEvent != nullptr;
        StopWatching();
    }
    const RpcLockGuard renewal = HoldRpcLock();
    const StateLockGuard lock(&g_stateLock);
    if (isWatched && m_uiRefCnt == 1)
    {
        // The thread may have registered again when the end of the registration had found nothing to end.
        // With another helper the registration lives on, and that one may end it.
        g_bProcessRegistered = false;
    }
}

bool CVzRpcClientHelper::IsStopped(const StopEvent& stop)
{
    if (!stop || WaitForSingleObject(stop->Get(), 0) != WAIT_OBJECT_0)
    {
        return false;
    }
    SetEvent(stop->Get()); // The look has taken the signal.
    return true;
}

// A new helper may stand where an old one was, so this can be another registration than the one that started
// the thread. No matter: as many threads come as there are registrations.
bool CVzRpcClientHelper::TakePendingWatch(const CVzRpcClientHelper& helper, Watch& watch)
{
    const StateLockGuard lock(&g_stateLock);
    std::list<Watch>& pending = PendingWatches();
    const auto found =
        std::find_if(pending.begin(), pending.end(),
                     [&helper](const Watch& candidate) { return candidate.helper == &helper; });
    if (found == pending.end())
    {
        return false;
    }
    watch = std::move(*found);
    pending.erase(found);
    return !IsStopped(watch.stop);
}

DWORD WINAPI CVzRpcClientHelper::ReconnectProc(void* helper)
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::ReconnectProc");
    if (helper == nullptr)
    {
        LOG_ERROR << L"Invalid pClientHelper...";
        return exitFailure;
    }
    DWORD exitCode = exitFailure;
    Guarded(L"ReconnectProc",
            [helper, &exitCode]
            {
                exitCode = WatchService(*static_cast<CVzRpcClientHelper*>(helper));
                return Status::Success;
            });
    return exitCode;
}

DWORD CVzRpcClientHelper::WatchService(CVzRpcClientHelper& helper)
{
    Watch watch;
    if (!TakePendingWatch(helper, watch))
    {
        return 0;
    }
    std::uint64_t handle = 0;
    Guarded(L"ReconnectProc",
            [&handle]
            {
                handle = AskForServiceProcess();
                return Status::Success;
            });
    if (handle == std::numeric_limits<std::uint64_t>::max())
    {
        LOG_ERROR << L"No privilege to open process!";
        return exitFailure;
    }
    VzCommon::KernelHandle process(reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(handle)));
    const HANDLE awaited[] = {process.Get(), watch.stop->Get()};
    const DWORD ended =
        WaitForMultipleObjects(static_cast<DWORD>(std::size(awaited)), awaited, FALSE, INFINITE);
    if (ended != WAIT_OBJECT_0)
    {
        // Deliberate: the process handle stays open.
        static_cast<void>(process.Release());
        return 0;
    }
    LOG_INFO << L"Reconnect the RPC...";
    process.Reset();
    Reconnect(helper, watch.stop);
    return 0;
}

// Until the service is back, however long that takes, or the helper is gone.
void CVzRpcClientHelper::Reconnect(CVzRpcClientHelper& helper, const StopEvent& stop)
{
    AgentStatus status = Status::Failure;
    while (Status::Failed(status) && WaitForSingleObject(stop->Get(), retryPause) == WAIT_TIMEOUT)
    {
        status = Guarded(L"Reconnect", [&] { return RegisterAnew(helper, stop); });
    }
}

AgentStatus CVzRpcClientHelper::RegisterAnew(CVzRpcClientHelper& helper, const StopEvent& stop)
{
    std::wstring clientName;
    if (!RenewConnection(helper, stop, clientName))
    {
        return Status::Failure;
    }
    return Register(helper, clientName.c_str(), g_fnCallback.load(), stop);
}

bool CVzRpcClientHelper::RenewConnection(const CVzRpcClientHelper& helper, const StopEvent& stop,
                                         std::wstring& clientName)
{
    const RpcLockGuard lock = HoldRpcLock();
    {
        const StateLockGuard state(&g_stateLock);
        if (IsStopped(stop))
        {
            return false;
        }
        clientName = helper.m_wstrClientName;
        g_bProcessRegistered = false;
    }
    UninitProduct();
    InitProduct(0, 0, RpcClientProduct);
    return true;
}

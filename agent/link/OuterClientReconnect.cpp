// The thread of a registration: waits for the death of the service's process and registers again.
#include "OuterClientLog.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <vector>

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

std::vector<CVzRpcClientHelper::Watch>& CVzRpcClientHelper::PendingWatches()
{
    static auto& pending = *new std::vector<Watch>;
    return pending;
}

void CVzRpcClientHelper::StartWatching(const wchar_t* clientName)
{
    auto stop = boost::make_shared<VzCommon::KernelHandle>(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    PendingWatches().push_back({this, stop, clientName});
    StopWatching(); // the registration that this one replaces
    m_hStopEvent = stop;
    m_wstrClientName = clientName;
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
    const RpcLockGuard lock(g_rpcLock);
    std::vector<Watch>& pending = PendingWatches();
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
    const std::uint64_t handle = AskForServiceProcess();
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
    Reconnect(helper, watch);
    return 0;
}

// Until the service is back, however long that takes, or the helper is gone.
void CVzRpcClientHelper::Reconnect(CVzRpcClientHelper& helper, const Watch& watch)
{
    AgentStatus status = Status::Failure;
    while (Status::Failed(status))
    {
        if (WaitForSingleObject(watch.stop->Get(), retryPause) != WAIT_TIMEOUT || !RenewConnection(watch))
        {
            return;
        }
        status = Register(helper, watch.clientName.c_str(), g_fnCallback.load(), watch.stop);
    }
}

bool CVzRpcClientHelper::RenewConnection(const Watch& watch)
{
    const RpcLockGuard lock(g_rpcLock);
    if (IsStopped(watch.stop))
    {
        return false;
    }
    g_bProcessRegistered = false;
    UninitProduct();
    InitProduct(0, 0, RpcClientProduct);
    return true;
}

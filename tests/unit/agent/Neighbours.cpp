#include "Neighbours.h"

#include <mutex>

#include "CrashFilter.h"
#include "InputInfoHelper.h"
#include "MailHelper.h"
#include "PowerEventHandler.h"
#include "ProfileParser.h"
#include "QxCommon_service.h"
#include "QxSensSinkHelper.h"
#include "SplashLaunch.h"
#include "StartHelper.h"
#include "UiLaunch.h"
#include "VzComn_LogFront.h"
#include "util_CrashHandler.h"

namespace
{
// The start-mode thread calls as well.
std::mutex g_lock;

std::string Narrow(const std::wstring& text)
{
    return {text.begin(), text.end()};
}
} // namespace

Neighbours& TheNeighbours()
{
    static Neighbours neighbours;
    return neighbours;
}

void Record(const std::string& call)
{
    const std::lock_guard guard(g_lock);
    TheNeighbours().calls.push_back(call);
}

std::vector<std::string> CallsBut(const std::string& word)
{
    const std::lock_guard guard(g_lock);
    std::vector<std::string> calls;
    for (const std::string& call : TheNeighbours().calls)
    {
        if (call.rfind(word, 0) != 0)
        {
            calls.push_back(call);
        }
    }
    return calls;
}

ActiveWindowState g_activeWindowState;

AgentStatus SendActiveWindow(ActiveWindowState& state)
{
    Record(&state == &g_activeWindowState ? "active window" : "active window of a stranger");
    return Status::Failure;
}

AgentStatus SendInputInfo()
{
    Record("input info");
    return Status::Failure;
}

AgentStatus RegisterRPC()
{
    Record("register");
    return TheNeighbours().registerRpc;
}

AgentStatus UnRegisterRPC()
{
    Record("unregister");
    return TheNeighbours().unregisterRpc;
}

AgentStatus SendEventToEventCenter(UINT eventId)
{
    Record("event " + std::to_string(eventId));
    return TheNeighbours().sendEvent;
}

AgentStatus SendToEventCenter(const QxCommon::JsonDb& request)
{
    Record("event of its own " + Narrow(request.ToFastString()));
    return TheNeighbours().sendEvent;
}

bool SendMailForStartScan()
{
    return TheNeighbours().startScan;
}

bool SendMailForGetResult()
{
    return TheNeighbours().scanResult;
}

bool LoadConfig()
{
    return TheNeighbours().loadConfig;
}

AgentStatus ShowQxUi(const std::wstring& arguments)
{
    TheNeighbours().consoleThread = GetCurrentThreadId();
    Record("console <" + Narrow(arguments) + ">");
    return TheNeighbours().console;
}

AgentStatus ShowPopup(const std::wstring& /*featureId*/, std::uint32_t /*popupId*/,
                      const std::wstring& /*param*/)
{
    return Status::Success;
}

AgentStatus ShowSplash()
{
    Record("splash");
    return Status::Success;
}

CPowerEventHandler::~CPowerEventHandler() = default;

AgentStatus CPowerEventHandler::InitPowerEvents(HWND window)
{
    Record(window == nullptr ? "power for no window" : "power");
    return TheNeighbours().initPower;
}

AgentStatus CPowerEventHandler::HandlePowerEvent(UINT eventCode, const POWERBROADCAST_SETTING* /*setting*/)
{
    Record("power event " + std::to_string(eventCode));
    return TheNeighbours().handlePower;
}

bool CQxSensSinkHelper::Initialize(HWND window)
{
    Record(window == nullptr ? "sens for no window" : "sens");
    return TheNeighbours().sensInitialize;
}

bool CQxSensSinkHelper::Uninitialize()
{
    Record("sens end");
    return TheNeighbours().sensUninitialize;
}

bool CQxSensSinkHelper::IsNetworkAlive(DWORD* flags)
{
    Record("network, flags " + std::to_string(*flags));
    *flags = TheNeighbours().networkFlags;
    return TheNeighbours().networkAlive;
}

void InitCrashHandler(unsigned reserved, const std::wstring& crashEventName, const std::wstring& dumpFolder)
{
    Record("crash handler " + std::to_string(reserved) + " " + Narrow(crashEventName) + " <" +
           Narrow(dumpFolder) + ">");
}

void WaitForCrash()
{
    Record(VzCommon::s_pDebugLog != nullptr ? "wait for a crash" : "wait for a crash without a log");
}

void UninitCrashHandler()
{
    Record("crash handler end");
}

AgentStatus CStartHelper::CheckQxSvc()
{
    Record("service");
    return TheNeighbours().checkService;
}

AgentStatus CStartHelper::WaitQxSvc(std::uint32_t /*seconds*/)
{
    return Status::Success;
}

namespace QxCommon
{
AgentStatus StartServiceByWatchdog(std::uint32_t /*seconds*/)
{
    return Status::Success;
}

AgentStatus StartServiceDirect(const std::wstring& /*name*/, bool /*waitRunning*/, std::uint32_t /*seconds*/)
{
    return Status::Success;
}

AgentStatus StopServiceByWatchdog(bool force, std::uint32_t seconds)
{
    Record("stop service " + std::to_string(force) + " " + std::to_string(seconds));
    return TheNeighbours().stopService;
}

AgentStatus StopServiceDirect(const std::wstring& /*name*/, std::uint32_t /*seconds*/)
{
    return Status::Success;
}

void RelaunchElevated() {}
} // namespace QxCommon

#include "CallbackHelper.h"

#include <algorithm>
#include <iterator>

#include "AgentIds.h"
#include "MainWindow.h"
#include "ObjectNames.h"
#include "PopupArgument.h"
#include "ShellExecution.h"
#include "SpecialEngineHost.h"
#include "UiLaunch.h"
#include "VzComn_LogFront.h"
#include "VzComn_String.h"
#include "VzComn_Synchronize.h"

bool g_bActiveWindowTimerSet = false;
bool g_bInputInfoTimerSet = false;

namespace
{
AgentStatus OpenPopup(QxCommon::JsonDb& command)
{
    const std::wstring param = PopupArgument(command[L"param"]);
    const std::wstring featureId = command[L"nFeatureId"].AsString();
    const std::uint32_t popupId = QxCommon::UIntOrZero(command[L"popupId"]);
    const AgentStatus status = ShowPopup(featureId, popupId, param);
    if (Status::Failed(status))
    {
        LOG_ERROR << L"Show Popup failed...";
    }
    return status;
}

AgentStatus OpenConsoleInMode(QxCommon::JsonDb& command)
{
    const std::uint32_t modeId = QxCommon::UIntOrZero(command[L"modeId"]);
    // Deliberate: large numbers become negative ones.
    const AgentStatus status = ShowQxUi(VzCommon::String::Format(L"-m %d", modeId));
    if (Status::Failed(status))
    {
        LOG_ERROR << L"SHow Monitor Failed..., ModeID: " << modeId;
    }
    return status;
}

AgentStatus EndSplash(QxCommon::JsonDb& /*command*/)
{
    LOG_INFO << L"RRPC_ID_CLOUD_BROKER_MANUAL_SYNC_COMPLETE";
    VzCommon::Synchronize::Event event;
    std::uint32_t error = 0;
    if (!event.CreateMultipleGlobal(ObjectNames::SplashEvent().c_str(), &error))
    {
        LOG_ERROR << L"CreateMultipleGlobal failed with " << error;
        return Status::FromSystemError(error);
    }
    // A missing handle is refused with 6.
    if (SetEvent(event.Handle()) == FALSE)
    {
        error = GetLastError();
        LOG_ERROR << L"Set signal event failed with " << error;
        return Status::FromSystemError(error);
    }
    return Status::Success; // Deliberate: the event vanishes with its last handle if nobody waits for it.
}

// What tells one periodic reporter from the other.
struct Reporter
{
    UINT_PTR timer;
    const wchar_t* name;
    bool& isArmed;
};

constexpr Reporter activeWindowReporter{FrameTimer::ActiveWindow, L"Active Window Agent",
                                        g_bActiveWindowTimerSet};
constexpr Reporter inputInfoReporter{FrameTimer::InputInfo, L"Input Info Agent", g_bInputInfoTimerSet};

// The timer belongs to the main window, so the reports are made on the main thread.
AgentStatus ArmOnce(const Reporter& reporter, QxCommon::JsonDb& command)
{
    if (reporter.isArmed)
    {
        return Status::Success;
    }
    LOG_INFO << L"Set timer for " << reporter.name << L"...";
    // Deliberate: wraps at 32 bits, and counts as armed even if there is no window for the timer.
    const std::uint32_t milliseconds = QxCommon::UIntOrZero(command[L"interval"]) * 1000U;
    SetTimer(MainWindow(), reporter.timer, milliseconds, nullptr);
    reporter.isArmed = true;
    return Status::Success;
}

AgentStatus ArmActiveWindowReporter(QxCommon::JsonDb& command)
{
    return ArmOnce(activeWindowReporter, command);
}

AgentStatus ArmInputInfoReporter(QxCommon::JsonDb& command)
{
    return ArmOnce(inputInfoReporter, command);
}

AgentStatus RunEngineAction(QxCommon::JsonDb& command)
{
    g_specialEngineHost.Initialize();
    return g_specialEngineHost.Dispatch(command);
}

AgentStatus CloseStartMenuHook(QxCommon::JsonDb& /*command*/)
{
    const HWND hook = FindWindowW(L"ClassicStartMenu.CStartHookWindow", L"StartHookWindow");
    if (hook != nullptr)
    {
        PostMessageW(hook, WM_CLOSE, 0, 0);
    }
    return Status::Success;
}

enum class Reply
{
    WithStatus, // the command with its status as "retCode"
    AsLeft,     // what the handler made of the command
};

struct ServiceCommand
{
    std::int32_t id = 0;
    Reply reply = Reply::WithStatus;
    AgentStatus (*run)(QxCommon::JsonDb& command) = nullptr;
};

constexpr ServiceCommand serviceCommands[] = {
    {1000, Reply::WithStatus, &OpenPopup},
    {1001, Reply::WithStatus, &OpenConsoleInMode},
    {1010, Reply::WithStatus, &EndSplash},
    {1011, Reply::WithStatus, &ArmActiveWindowReporter},
    {1100, Reply::WithStatus, &ArmInputInfoReporter},
    {1101, Reply::WithStatus, &ExecuteThroughShell},
    {2000, Reply::AsLeft, &RunEngineAction},
    {3000, Reply::WithStatus, &CloseStartMenuHook},
};
} // namespace

AgentStatus OnServiceCommand(QxCommon::JsonDb& command)
{
    if (VzCommon::IsLogEnabledFor(VzCommon::LogLevel::Debug))
    {
        LOG_DEBUG << L"callback Command: " << command.ToStyledString();
    }
    AgentStatus status = Status::Success;
    const std::int32_t id = QxCommon::IntOrZero(command[L"JD_COMMAND_ID"]);
    const auto* const row =
        std::find_if(std::begin(serviceCommands), std::end(serviceCommands),
                     [id](const ServiceCommand& candidate) { return candidate.id == id; });
    if (row != std::end(serviceCommands))
    {
        status = row->run(command);
        if (row->reply == Reply::AsLeft)
        {
            return status;
        }
    }
    command[L"retCode"].SetInt(status);
    return status;
}

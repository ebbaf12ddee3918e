#include "StartHelper.h"

#include <shellapi.h>

#include <cwchar>
#include <iterator>

#include "AgentIds.h"
#include "CrashFilter.h"
#include "ExitWait.h"
#include "MailHelper.h"
#include "MainWindow.h"
#include "ObjectNames.h"
#include "QxCommon_JsonDb.h"
#include "QxCommon_utility.h"
#include "QxSensSinkHelper.h"
#include "ThreadStart.h"
#include "VzComn_Handle.h"
#include "VzComn_LogChannel.h"
#include "VzComn_LogFront.h"
#include "util_CrashHandler.h"

namespace
{
unsigned __stdcall StartModeThread(void* argument)
{
    auto* helper = static_cast<CStartHelper*>(argument);
    if (helper == nullptr)
    {
        LOG_ERROR << L"Invalid param";
        return static_cast<unsigned>(-1);
    }
    const AgentStatus status = helper->ExecuteStartMode();
    if (Status::Failed(status))
    {
        LOG_ERROR << L"Execute start mode failed with 0x" << std::hex << status;
    }
    return 0;
}
} // namespace

AgentStatus CStartHelper::PreInit()
{
    VzCommon::InitDebugLog(L"QxSessionAgent");
    FUNCTION_TRACE(L"CStartHelper::PreInit");
    VzCommon::SetFeedbackErrorFolder(&QxCommon::GetRegistryProductPath);

    static constexpr Step steps[] = {
        {&CStartHelper::ParseCmdLine, L"Parse command-line failed...retCode="},
        {&CStartHelper::ReadConfig, L"QxCommon::JsonDb::ParseFromFile failed with "},
        {&CStartHelper::InitStartModeConfig, L"Initialize start mode config failed with "},
        {&CStartHelper::ClaimSession, nullptr},
        {&CStartHelper::ArmCrashHandler, nullptr},
        {&CStartHelper::CheckQxSvc, L"Check QX service failed with "},
        {&CStartHelper::RegisterWithService, L"Register Callback to RPC server failed with "},
    };
    return RunSteps(std::begin(steps), std::end(steps));
}

AgentStatus CStartHelper::RunSteps(const Step* begin, const Step* end)
{
    for (const Step* step = begin; step != end; ++step)
    {
        const AgentStatus status = (this->*step->run)();
        if (Status::Failed(status))
        {
            if (step->failure != nullptr)
            {
                LOG_ERROR << step->failure << L"0x" << std::hex << status;
            }
            return status;
        }
    }
    return Status::Success;
}

AgentStatus CStartHelper::ParseCmdLine()
{
    FUNCTION_TRACE(L"CStartHelper::ParseCmdLine");
    constexpr std::int32_t defaultMode = 5;
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    const VzCommon::LocalMemory memory(static_cast<HLOCAL>(arguments));
    if (arguments == nullptr)
    {
        LOG_ERROR << L"The argv is null. Invoke qxSessionAgent.exe failed...";
        return Status::InvalidParameter;
    }
    wchar_t* end = nullptr;
    // Deliberate: no check of what follows the number, and text that is no number is 0.
    startMode = count > 1 ? std::wcstol(arguments[1], &end, 0) : defaultMode;
    LOG_INFO << L"Start Mode: " << startMode;
    return Status::Success;
}

// The configuration comes before the test for another instance, which needs the start functions too.
AgentStatus CStartHelper::ReadConfig()
{
    const std::wstring folder = QxCommon::GetConfigurationFolder();
    return QxCommon::JsonDb::ParseFromFile(QxCommon::AppendName(folder, L"QxSessionAgentCfg.json"), config);
}

AgentStatus CStartHelper::InitStartModeConfig()
{
    return BuildStartModeTable(config, modeTable);
}

AgentStatus CStartHelper::ClaimSession()
{
    if (HandleInstanceExist())
    {
        LOG_INFO << L"A program instance is already running, just show main console and return...";
        return Status::InstanceExists;
    }
    return Status::Success;
}

bool CStartHelper::HandleInstanceExist()
{
    FUNCTION_TRACE(L"CStartHelper::HandleInstanceExist");
    // Deliberate: any failure counts, so a name taken by a stranger makes every start a second one.
    if (instanceMutex.CreateLocal(ObjectNames::InstanceMutex(), true, true, nullptr))
    {
        return false;
    }
    ExecuteStartMode();
    return true;
}

AgentStatus CStartHelper::ArmCrashHandler()
{
    InitCrashHandler(0, ObjectNames::CrashRestartEvent(), L"");
    return Status::Success;
}

AgentStatus CStartHelper::RegisterWithService()
{
    return RegisterRPC();
}

AgentStatus CStartHelper::Init(CWinApp* app)
{
    const AgentStatus status = HandleStartMode();
    if (Status::Failed(status))
    {
        LOG_ERROR << L"Handle different start mode failed...";
        return status;
    }
    LOG_INFO << L"Create thread for waiting exit event...";
    StartThread(&ExitWaitThread, app);
    SubscribeToSystem(MainWindowOf(*app));
    if (Status::Failed(SendEventToEventCenter(EventId::StartFinished)))
    {
        LOG_ERROR << L"Send event failed...EventId=" << EventId::StartFinished;
    }
    initialized = true;
    return Status::Success;
}

AgentStatus CStartHelper::HandleStartMode()
{
    FUNCTION_TRACE(L"CStartHelper::HandleStartMode");
    constexpr std::int32_t announcedMode = 1;
    if (startMode == announcedMode && Status::Failed(SendEventToEventCenter(EventId::StartedInModeOne)))
    {
        LOG_ERROR << L"Sent event failed...EventId=" << EventId::StartedInModeOne;
    }
    StartThread(&StartModeThread, this);
    return Status::Success;
}

AgentStatus CStartHelper::ExecuteStartMode()
{
    return RunStartMode(modeTable, startMode);
}

// The frame hears the state of the network once, by the message that a later change would bring.
void CStartHelper::SubscribeToSystem(HWND mainWindow)
{
    if (!CQxSensSinkHelper::Initialize(mainWindow))
    {
        LOG_ERROR << L"CQxSensSinkHelper Initialize() failed!!!";
    }
    DWORD flags = 0;
    const bool alive = CQxSensSinkHelper::IsNetworkAlive(&flags);
    PostMessageW(mainWindow, alive ? WindowMessage::NetworkMade : WindowMessage::NetworkLost, flags, 0);
}

AgentStatus CStartHelper::Uninit(HWND mainWindow)
{
    if (initialized)
    {
        KillTimer(mainWindow, FrameTimer::ActiveWindow);
        const AgentStatus status = UnRegisterRPC();
        if (Status::Failed(status))
        {
            LOG_ERROR << L"UnRegisterRPC failed with error 0x" << std::hex << status;
        }
        if (!CQxSensSinkHelper::Uninitialize())
        {
            LOG_ERROR << L"CQxSensSinkHelper Uninitialize() failed!!!";
        }
        UninitCrashHandler();
    }
    else
    {
        WaitForCrash(); // of a thread of the failed start
    }
    VzCommon::ShutdownDebugLog();
    return Status::Success;
}

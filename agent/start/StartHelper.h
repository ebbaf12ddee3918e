#pragma once

#include <windows.h>

#include <cstdint>

#include "QxCommon_JsonDb.h"
#include "StartMode.h"
#include "VzComn_AgentStatus.h"
#include "VzComn_Synchronize.h"

class CWinApp;

// Brings the agent up and takes it down: the order of every step of start and stop stands here. Owned by
// the application object; its end, at process exit, gives the session free for another instance. Called
// on the main thread, but for ExecuteStartMode.
class CStartHelper
{
public:
    // Everything before the first window. The first failure ends it and is what it returns.
    AgentStatus PreInit();

    // Everything after the main frame stands.
    AgentStatus Init(CWinApp* app);

    // Takes back what Init and PreInit did; only the log when Init has not come to its end.
    AgentStatus Uninit(HWND mainWindow);

    AgentStatus ParseCmdLine();
    AgentStatus InitStartModeConfig();

    // True: another instance owns the session, and this one has run the start functions of its mode.
    [[nodiscard]] bool HandleInstanceExist();
    AgentStatus HandleStartMode();

    // Runs the start functions of this process's mode. Any thread, once.
    AgentStatus ExecuteStartMode();

    // Makes sure that the host service runs.
    AgentStatus CheckQxSvc();

    // Waits until the host service runs, without starting it.
    AgentStatus WaitQxSvc(std::uint32_t seconds);

private:
    // One step of PreInit and the words that its failure is logged with; null where the step says it.
    struct Step
    {
        AgentStatus (CStartHelper::*run)();
        const wchar_t* failure;
    };

    AgentStatus RunSteps(const Step* begin, const Step* end);
    AgentStatus ReadConfig();
    AgentStatus ClaimSession();
    AgentStatus ArmCrashHandler();
    AgentStatus CheckQxSvcPatiently();
    AgentStatus RegisterWithService();
    void SubscribeToSystem(HWND mainWindow);

    std::int32_t startMode = 5;
    bool initialized = false;
    VzCommon::Synchronize::Mutex instanceMutex;
    StartModeTable modeTable;
    QxCommon::JsonDb config;
};

#pragma once

#include <windows.h>

#include <chrono>
#include <string>

#include "ControlClient.h"
#include "HostService.h"
#include "VzComn_Handle.h"

// The host service and the agent out of a staged tree, running for the length of a scope.
class RunningAgent
{
public:
    explicit RunningAgent(const std::wstring& stage);
    ~RunningAgent();

    RunningAgent(const RunningAgent&) = delete;
    RunningAgent& operator=(const RunningAgent&) = delete;

    // False if one of them did not come up. The agent has told of its start otherwise.
    [[nodiscard]] bool IsReady() const { return m_frame != nullptr; }

    // The window that is told of the session.
    [[nodiscard]] HWND Frame() const { return m_frame; }

    // The service knows it. The other clients do not matter.
    [[nodiscard]] bool IsRegistered() { return Mails() >= 0; }

    // How many the service has had of it since it registered; -1 while it is not registered.
    [[nodiscard]] int Mails();

    // Has the service send it a command. Its reply, or nothing.
    std::wstring Send(const std::wstring& command);

private:
    HostService m_service;
    VzCommon::KernelHandle m_process;
    DWORD m_processId = 0;
    HWND m_frame = nullptr;
    ControlClient m_control;
};

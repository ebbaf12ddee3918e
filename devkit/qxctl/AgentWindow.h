#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

// The main window of a running agent.
struct AgentWindow
{
    HWND window = nullptr;
    std::uint32_t processId = 0;
};

// The windows on this desktop that carry the mark of the product's agent. The windows of other sessions and
// desktops cannot be seen.
[[nodiscard]] std::vector<AgentWindow> FindAgentWindows();

struct AgentProcess
{
    std::uint32_t processId = 0;
    std::uint32_t sessionId = 0;
};

// The processes of the product's agent in all sessions, by the name of their program. Empty if the system
// does not tell.
[[nodiscard]] std::vector<AgentProcess> FindAgentProcesses();

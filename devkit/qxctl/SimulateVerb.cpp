#include "Verbs.h"

#include <windows.h>

#include <algorithm>
#include <optional>
#include <string>

#include "AgentWindow.h"
#include "Failure.h"
#include "ForeignMemory.h"
#include "FrwkMode.h"
#include "JsonQuote.h"
#include "SimulatedChange.h"
#include "VzComn_TerminalService.h"

namespace
{
constexpr std::uint32_t defaultSecondsToWait = 60;

std::wstring NumbersOf(const std::vector<AgentWindow>& windows)
{
    std::wstring numbers;
    for (const AgentWindow& window : windows)
    {
        numbers += (numbers.empty() ? L"" : L", ") + std::to_wstring(window.processId);
    }
    return numbers;
}

// Why no window of an agent is there.
std::wstring DescribeAbsence()
{
    const std::wstring agent = L"agent of " + QxCommon::GetProductId();
    const std::vector<AgentProcess> processes = FindAgentProcesses();
    if (processes.empty())
    {
        return L"no " + agent + L" is running";
    }
    std::uint32_t session = 0;
    VzCommon::TerminalService::GetCurrentSessionId(session);
    const auto here =
        std::find_if(processes.begin(), processes.end(),
                     [session](const AgentProcess& process) { return process.sessionId == session; });
    if (here != processes.end())
    {
        return L"the " + agent + L", process " + std::to_wstring(here->processId) +
               L", has no window on this desktop: it is starting or ending, or on another one; try again";
    }
    const AgentProcess& other = processes.front();
    return L"no " + agent + L" runs in this session, " + std::to_wstring(session) + L", but in session " +
           std::to_wstring(other.sessionId) + L", process " + std::to_wstring(other.processId) +
           L"; run qxctl in that session: windows of another one cannot be reached";
}

// Not set if there is not exactly one that fits, which is said.
std::optional<AgentWindow> ChooseAgent(std::vector<AgentWindow> windows, std::uint32_t processId,
                                       Output& output)
{
    const std::wstring numbers = NumbersOf(windows);
    std::erase_if(windows, [processId](const AgentWindow& window)
                  { return processId != 0 && window.processId != processId; });
    if (windows.size() == 1)
    {
        return windows.front();
    }
    output.Note(windows.empty() ? L"process " + std::to_wstring(processId) + L" is no agent of " +
                                      QxCommon::GetProductId() + L" in this session, but process " + numbers
                                : L"several windows are marked as those of the agent, of processes " +
                                      numbers + L"; name one by --pid");
    return std::nullopt;
}

// The Windows error code; ERROR_TIMEOUT if the agent has not handled it in time.
DWORD Deliver(const Notice& notice, const AgentWindow& agent, UINT timeoutMs)
{
    ForeignMemory memory;
    if (!notice.setting.empty() && !memory.Copy(agent.processId, notice.setting))
    {
        return GetLastError();
    }
    const LPARAM lParam = notice.setting.empty() ? notice.lParam : memory.Address();
    DWORD_PTR result = 0;
    SetLastError(ERROR_SUCCESS);
    // Deliberate: not SMTO_ABORTIFHUNG. An agent that waits for its service looks as one that hangs.
    if (SendMessageTimeoutW(agent.window, notice.message, notice.wParam, lParam,
                            SMTO_NORMAL | SMTO_ERRORONEXIT, timeoutMs, &result) != 0)
    {
        return ERROR_SUCCESS;
    }
    const DWORD error = GetLastError();
    if (error == ERROR_SUCCESS || error == ERROR_TIMEOUT)
    {
        memory.Leave(); // The agent may handle the notice yet.
        return ERROR_TIMEOUT;
    }
    return error;
}

int ReportUndelivered(DWORD error, const AgentWindow& agent, Output& output)
{
    const std::wstring process = L"the agent, process " + std::to_wstring(agent.processId);
    if (!IsWindow(agent.window))
    {
        output.Note(process + L", has ended");
        return ExitCode::NotReachable;
    }
    if (error == ERROR_TIMEOUT)
    {
        output.Note(process + L", did not answer in time: it hangs, or waits for its service; "
                              L"it may still handle the change. Give it longer with --timeout");
        return ExitCode::TimedOut;
    }
    output.Note(process + L", cannot be told: " + Describe(Status::FromSystemError(error)));
    return ExitCode::Refused;
}
} // namespace

int RunSimulate(const Arguments& arguments, Output& output)
{
    const std::wstring change = arguments.change.value_or(L"");
    const Notice notice = ParseChange(change, arguments.value).notice;
    const std::vector<AgentWindow> windows = FindAgentWindows();
    if (windows.empty())
    {
        output.Note(DescribeAbsence());
        return ExitCode::NotReachable;
    }
    const std::optional<AgentWindow> agent = ChooseAgent(windows, arguments.processId, output);
    if (!agent)
    {
        return ExitCode::Refused;
    }
    // No time at all would be no attempt.
    const UINT timeoutMs = std::max(arguments.timeoutSeconds.value_or(defaultSecondsToWait) * 1000U, 1U);
    const DWORD error = Deliver(notice, *agent, timeoutMs);
    if (error != ERROR_SUCCESS)
    {
        return ReportUndelivered(error, *agent, output);
    }
    const std::wstring process = std::to_wstring(agent->processId);
    const std::wstring value = arguments.value ? L' ' + *arguments.value : L"";
    output.Line(arguments.wantsJson
                    ? L"{\"change\":" + JsonQuote(change) + L",\"processId\":" + process + L'}'
                    : L"Process " + process + L" was told: " + change + value);
    return ExitCode::Ok;
}

#include "AgentKeeper.h"

#include "Report.h"

namespace WatchDog
{
namespace
{
using VzCommon::KernelHandle;

constexpr std::chrono::seconds endLimit{10}; // of a process that has signalled its crash
constexpr UINT endedExitCode = 1;

std::wstring ExitCodeOf(HANDLE process)
{
    DWORD code = 0;
    GetExitCodeProcess(process, &code);
    return std::to_wstring(code);
}
} // namespace

// Deliberate: with the rights and in the session of the watchdog. In the product, where the watchdog runs
// outside of the sessions, CreateProcessAsUserW with the user's token stands here.
void AgentKeeper::Start(Clock::time_point now)
{
    m_due.reset();
    m_hasSignalled = false;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started{};
    std::wstring commandLine = L'"' + m_path + L"\" " + std::to_wstring(m_mode);
    // Ctrl-C at the watchdog's console is not for the agent.
    if (!CreateProcessW(m_path.c_str(), commandLine.data(), nullptr, nullptr, FALSE, CREATE_NEW_PROCESS_GROUP,
                        nullptr, nullptr, &startup, &started))
    {
        const DWORD error = GetLastError();
        Complain(m_path + L" cannot be started: error " + std::to_wstring(error) + L".");
        RestartLater(now, L"failed to start");
        return;
    }
    const KernelHandle thread(started.hThread);
    m_process.Reset(started.hProcess);
    Tell(L"The agent is started in mode " + std::to_wstring(m_mode) + L".");
}

void AgentKeeper::OnCrashSignal(Clock::time_point now)
{
    if (m_process && WaitForSingleObject(m_process.Get(), 0) != WAIT_OBJECT_0)
    {
        m_hasSignalled = true;
        // A further signal does not put the end off.
        m_due = m_due.value_or(now + endLimit);
        return;
    }
    m_process.Reset();
    RestartLater(now, L"crashed");
}

void AgentKeeper::OnProcessEnd(Clock::time_point now)
{
    const std::wstring code = ExitCodeOf(m_process.Get());
    m_process.Reset();
    if (m_hasSignalled)
    {
        RestartLater(now, L"crashed");
        return;
    }
    Tell(L"The agent has ended with code " + code + L" and without a crash; it is left so.");
}

void AgentKeeper::RestartLater(Clock::time_point now, const std::wstring& what)
{
    m_hasSignalled = false;
    m_due.reset();
    const std::optional<std::chrono::milliseconds> delay = m_policy.OnCrash(now);
    if (!delay)
    {
        Complain(L"The agent has " + what + L' ' + std::to_wstring(m_policy.Limit()) +
                 L" times within a minute; it is not started again.");
        return;
    }
    m_due = now + *delay;
    Complain(L"The agent has " + what + L"; it is started again in " +
             std::to_wstring(delay->count() / 1000) + L" s.");
}

void AgentKeeper::Step(Clock::time_point now)
{
    if (!m_due || now < *m_due)
    {
        return;
    }
    if (!m_hasSignalled)
    {
        Start(now);
        return;
    }
    EndProcess();
}

// The end of the process is a crash then, as its signal said.
void AgentKeeper::EndProcess()
{
    m_due.reset();
    if (TerminateProcess(m_process.Get(), endedExitCode))
    {
        Complain(L"The agent has signalled a crash and runs on; it is ended.");
        return;
    }
    const DWORD error = GetLastError();
    // It may have ended by itself just now.
    if (WaitForSingleObject(m_process.Get(), 0) != WAIT_OBJECT_0)
    {
        Complain(L"The agent has signalled a crash and cannot be ended: error " + std::to_wstring(error) +
                 L".");
    }
}

} // namespace WatchDog

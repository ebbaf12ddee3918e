#include "Processes.h"

#include "QxCommon_utility.h"

#include <windows.h>

#include <winternl.h>

#include <stdexcept>
#include <string>

extern "C"
{
    NTSTATUS NTAPI NtSuspendProcess(HANDLE process);
    NTSTATUS NTAPI NtResumeProcess(HANDLE process);
}

Process::Process(const std::wstring& commandLine)
{
    std::wstring line = commandLine;
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION made{};
    const auto isStarted = [&] {
        return CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                              &made);
    };
    // A system under load may fail for an inner reason, and not the next time.
    if (!isStarted() && (GetLastError() != ERROR_INTERNAL_ERROR || !isStarted()))
    {
        throw std::runtime_error("the program was not started: " + std::to_string(GetLastError()));
    }
    m_process = VzCommon::KernelHandle(made.hProcess);
    m_id = made.dwProcessId;
    const VzCommon::KernelHandle thread(made.hThread);
}

Process::~Process()
{
    Kill();
}

void Process::Kill()
{
    TerminateProcess(m_process.Get(), 99);
    WaitForSingleObject(m_process.Get(), INFINITE);
}

void Process::Suspend()
{
    NtSuspendProcess(m_process.Get());
}

void Process::Resume()
{
    NtResumeProcess(m_process.Get());
}

unsigned long Process::ExitCode() const
{
    DWORD code = 0;
    GetExitCodeProcess(m_process.Get(), &code);
    return code;
}

std::wstring Beside(const std::wstring& file)
{
    return L"\"" + QxCommon::AppendName(QxCommon::GetModuleFolder(), file) + L"\"";
}

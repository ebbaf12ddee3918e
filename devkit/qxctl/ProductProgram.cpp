#include "ProductProgram.h"

#include <windows.h>

#include <array>
#include <cwchar>

#include "FrwkMode.h"
#include "VzComn_Handle.h"

namespace
{
constexpr std::array<ProductProgram, 3> programs = {{
    {L"", L"qxctl.exe", 0},
    {L"M", L"qxctl_M.exe", 1},
    {L"B", L"qxctl_B.exe", 2},
}};

constexpr std::int32_t trayProduct = 1;

void InheritStandardHandles(STARTUPINFOW& startup)
{
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    for (HANDLE handle : {startup.hStdInput, startup.hStdOutput, startup.hStdError})
    {
        // Fails for handles that cannot be had otherwise either: the program then does without.
        SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    }
}

// A job whose programs end with its last handle.
VzCommon::KernelHandle MakeJob()
{
    VzCommon::KernelHandle job(CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return job;
}
} // namespace

const ProductProgram* FindProductProgram(const std::wstring& suffix)
{
    const std::wstring sought = suffix == L"none" ? L"" : suffix;
    for (const ProductProgram& program : programs)
    {
        if (_wcsicmp(program.suffix, sought.c_str()) == 0)
        {
            return &program;
        }
    }
    return nullptr;
}

const ProductProgram& DefaultProductProgram()
{
    const std::int32_t number = QxCommon::GetProductNumber();
    for (const ProductProgram& program : programs)
    {
        if (program.number == number && program.suffix[0] != L'\0')
        {
            return program;
        }
    }
    return programs[trayProduct];
}

bool IsRunning(const ProductProgram& program)
{
    return QxCommon::GetProductNumber() == program.number;
}

std::wstring ArgumentsOf(const std::wstring& commandLine)
{
    // The name ends at the first blank outside of quotes; no backslash counts in it.
    bool isQuoted = false;
    std::size_t end = 0;
    while (end < commandLine.size() && (isQuoted || (commandLine[end] != L' ' && commandLine[end] != L'\t')))
    {
        isQuoted = isQuoted != (commandLine[end] == L'"');
        ++end;
    }
    return commandLine.substr(end);
}

ProgramRun RunProgram(const std::wstring& path, const std::wstring& arguments)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    InheritStandardHandles(startup);
    PROCESS_INFORMATION information{};
    std::wstring commandLine = L'"' + path + L'"' + arguments;
    if (!CreateProcessW(path.c_str(), commandLine.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                        nullptr, &startup, &information))
    {
        return {GetLastError(), 0};
    }
    const VzCommon::KernelHandle process(information.hProcess);
    const VzCommon::KernelHandle thread(information.hThread);
    // A system that refuses leaves a program that may outlive this one, no more.
    const VzCommon::KernelHandle job = MakeJob();
    AssignProcessToJobObject(job.Get(), process.Get());
    ResumeThread(thread.Get());
    WaitForSingleObject(process.Get(), INFINITE);
    DWORD exitCode = 0;
    GetExitCodeProcess(process.Get(), &exitCode);
    return {0, exitCode};
}

#include "HostProgram.h"

#include <array>
#include <stdexcept>

namespace
{
constexpr DWORD patienceMs = 60'000;
}

HostProgram::HostProgram(const std::wstring& fileName) : m_path(m_folder->Path(fileName))
{
    if (!CopyFileW(HOST_PROGRAM, m_path.c_str(), TRUE))
    {
        throw std::runtime_error("the program cannot be copied");
    }
}

HostProgram::~HostProgram()
{
    (void)Run(L"--uninstall");
}

VzCommon::KernelHandle HostProgram::Create(const std::wstring& arguments, DWORD flags, HANDLE output) const
{
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output;
    startup.hStdError = output;
    PROCESS_INFORMATION process{};
    std::wstring command = L'"' + m_path + L"\" " + arguments;
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, flags, nullptr, nullptr, &startup,
                        &process))
    {
        throw std::runtime_error("the program cannot be started");
    }
    const VzCommon::KernelHandle thread(process.hThread);
    return VzCommon::KernelHandle(process.hProcess);
}

HostProgram::Ended HostProgram::Run(const std::wstring& arguments) const
{
    SECURITY_ATTRIBUTES inherit{sizeof(inherit), nullptr, TRUE};
    VzCommon::KernelHandle reader;
    VzCommon::KernelHandle writer;
    if (!CreatePipe(reader.Put(), writer.Put(), &inherit, 0))
    {
        throw std::runtime_error("no pipe");
    }
    SetHandleInformation(reader.Get(), HANDLE_FLAG_INHERIT, 0);
    const VzCommon::KernelHandle process = Create(arguments, 0, writer.Get());
    writer.Reset();
    Ended ended;
    std::array<char, 4096> part{};
    DWORD length = 0;
    while (ReadFile(reader.Get(), part.data(), static_cast<DWORD>(part.size()), &length, nullptr) &&
           length > 0)
    {
        ended.output.append(part.data(), length);
    }
    WaitForSingleObject(process.Get(), patienceMs);
    GetExitCodeProcess(process.Get(), &ended.code);
    return ended;
}

VzCommon::KernelHandle HostProgram::Begin(const std::wstring& arguments) const
{
    return Create(arguments, CREATE_NEW_PROCESS_GROUP, nullptr);
}

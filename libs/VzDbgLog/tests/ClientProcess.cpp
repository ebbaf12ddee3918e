#include "ClientProcess.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace
{

using VzDbgLog::FileHandle;

constexpr DWORD patience = 60'000; // milliseconds

// A pipe of which the child inherits the one end.
std::pair<FileHandle, FileHandle> MakePipe(bool childWrites)
{
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE reading = nullptr, writing = nullptr;
    if (!CreatePipe(&reading, &writing, &inherited, 0))
    {
        throw std::runtime_error("no pipe");
    }
    SetHandleInformation(childWrites ? reading : writing, HANDLE_FLAG_INHERIT, 0);
    return {FileHandle(reading), FileHandle(writing)};
}

std::wstring CommandLine(const std::vector<std::wstring>& arguments)
{
    wchar_t file[MAX_PATH]{};
    GetModuleFileNameW(nullptr, file, MAX_PATH);
    const auto folder = std::filesystem::path(file).parent_path();
    std::wstring line = L"\"" + (folder / L"VzDbgLogClient.exe").wstring() + L"\"";
    for (const std::wstring& argument : arguments)
    {
        line += L" \"" + argument + L"\"";
    }
    return line;
}

} // namespace

ClientProcess::ClientProcess(const std::vector<std::wstring>& arguments)
{
    auto [childInput, ownInput] = MakePipe(false);
    auto [ownOutput, childOutput] = MakePipe(true);
    STARTUPINFOW start{};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = childInput.Get();
    start.hStdOutput = childOutput.Get();
    start.hStdError = childOutput.Get();
    std::wstring command = CommandLine(arguments);
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                        &started))
    {
        throw std::runtime_error("the client did not start");
    }
    const FileHandle thread(started.hThread);
    process = FileHandle(started.hProcess);
    input = std::move(ownInput);
    output = std::move(ownOutput);
}

ClientProcess::~ClientProcess()
{
    Kill();
    Wait();
}

std::string ClientProcess::ReadLine()
{
    std::size_t end = 0;
    while ((end = read.find('\n')) == std::string::npos)
    {
        char block[4096];
        DWORD count = 0;
        if (!ReadFile(output.Get(), block, sizeof(block), &count, nullptr) || count == 0)
        {
            return {};
        }
        read.append(block, count);
    }
    std::string line = read.substr(0, end);
    read.erase(0, end + 1);
    line.erase(std::min(line.find('\r'), line.size()));
    return line;
}

void ClientProcess::Kill()
{
    TerminateProcess(process.Get(), 99);
}

DWORD ClientProcess::Wait()
{
    DWORD code = MAXDWORD;
    if (WaitForSingleObject(process.Get(), patience) == WAIT_OBJECT_0)
    {
        GetExitCodeProcess(process.Get(), &code);
    }
    return code;
}

#include <map>

#include <windows.h>

#include <tlhelp32.h>

#include "Commands.h"
#include "ProcessCounts.h"

namespace
{
// The processes that this program started or was asked about, so that their ends can be told.
std::map<DWORD, HANDLE>& Known()
{
    static std::map<DWORD, HANDLE> known;
    return known;
}

// {"commandLine", "folder"}: starts a program with exactly this command line. It gets no output: what it
// writes would stand among this program's answers.
Records Start(const Record& request)
{
    std::wstring commandLine = request.Text("commandLine");
    const std::wstring folder = request.Text("folder");
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        folder.empty() ? nullptr : folder.c_str(), &startup, &process))
    {
        return {ErrorRecord(GetLastError())};
    }
    CloseHandle(process.hThread);
    Known()[process.dwProcessId] = process.hProcess;
    return {ErrorRecord(ERROR_SUCCESS).Set("process", process.dwProcessId)};
}

// {"process"}: whether it runs, and the code that it ended with. One that somebody else started has to be
// asked about first while it runs.
Records Status(const Record& request)
{
    HANDLE& process = Known()[request.Small("process")];
    if (process == nullptr)
    {
        process = OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION, FALSE, request.Small("process"));
    }
    if (process == nullptr)
    {
        return {ErrorRecord(GetLastError())};
    }
    const bool running = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    DWORD exitCode = 0;
    GetExitCodeProcess(process, &exitCode);
    return {ErrorRecord(ERROR_SUCCESS).Set("running", running ? 1 : 0).Set("exitCode", exitCode)};
}

Records Terminate(const Record& request)
{
    HANDLE process = OpenProcess(PROCESS_TERMINATE, FALSE, request.Small("process"));
    const BOOL ended = process != nullptr && TerminateProcess(process, request.Small("exitCode"));
    const DWORD error = ended ? ERROR_SUCCESS : GetLastError();
    CloseHandle(process);
    return {ErrorRecord(error)};
}

// All threads of a process stand still, or go on.
Records Freeze(const Record& request, const char* operation)
{
    using Change = LONG(WINAPI*)(HANDLE);
    const auto change = reinterpret_cast<Change>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), operation)));
    HANDLE process = OpenProcess(PROCESS_SUSPEND_RESUME, FALSE, request.Small("process"));
    const bool changed = process != nullptr && change != nullptr && change(process) == 0;
    const DWORD error = changed ? ERROR_SUCCESS : ERROR_INVALID_FUNCTION;
    CloseHandle(process);
    return {ErrorRecord(error)};
}

Records Suspend(const Record& request)
{
    return Freeze(request, "NtSuspendProcess");
}

Records Resume(const Record& request)
{
    return Freeze(request, "NtResumeProcess");
}

Records ListProcesses(const Record&)
{
    Records records{ErrorRecord(ERROR_SUCCESS)};
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL more = Process32FirstW(snapshot, &entry); more; more = Process32NextW(snapshot, &entry))
    {
        records.push_back(Record()
                              .Set("process", entry.th32ProcessID)
                              .Set("parent", entry.th32ParentProcessID)
                              .Set("name", entry.szExeFile));
    }
    CloseHandle(snapshot);
    return records;
}

Records ListModules(const Record& request)
{
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, request.Small("process"));
    Records records{ErrorRecord(snapshot != INVALID_HANDLE_VALUE ? ERROR_SUCCESS : GetLastError())};
    MODULEENTRY32W entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL more = Module32FirstW(snapshot, &entry); more; more = Module32NextW(snapshot, &entry))
    {
        records.push_back(Record().Set("path", entry.szExePath));
    }
    CloseHandle(snapshot);
    return records;
}

Records Count(const Record& request)
{
    const ProcessCounts counts = CountObjectsOf(request.Small("process"));
    return {ErrorRecord(ERROR_SUCCESS)
                .Set("handles", counts.handles)
                .Set("gdi", counts.gdi)
                .Set("windows", counts.windows)
                .Set("threads", counts.threads)
                .Set("memory", counts.memory)};
}
} // namespace

void AddProcessCommands(CommandTable& table)
{
    table[L"start"] = Start;
    table[L"status"] = Status;
    table[L"terminate"] = Terminate;
    table[L"suspend"] = Suspend;
    table[L"resume"] = Resume;
    table[L"processes"] = ListProcesses;
    table[L"modules"] = ListModules;
    table[L"counts"] = Count;
}

#include <windows.h>

#include <tlhelp32.h>

#include "Commands.h"

namespace
{
// The threads of a process, in the order of their beginnings.
Records ListThreads(const Record& request)
{
    const DWORD process = request.Small("process");
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    Records records{ErrorRecord(snapshot != INVALID_HANDLE_VALUE ? ERROR_SUCCESS : GetLastError())};
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
    {
        if (entry.th32OwnerProcessID == process)
        {
            records.push_back(Record().Set("thread", entry.th32ThreadID));
        }
    }
    CloseHandle(snapshot);
    return records;
}

bool GoOnAt(HANDLE thread, std::uint64_t address)
{
    CONTEXT context = {};
    context.ContextFlags = CONTEXT_CONTROL;
    if (!GetThreadContext(thread, &context))
    {
        return false;
    }
    context.Rip = address;
    return SetThreadContext(thread, &context) != FALSE;
}

// {"thread", "address"}: the thread goes on there; one that waits, as soon as its wait is over.
Records Derail(const Record& request)
{
    constexpr DWORD rights = THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT | THREAD_SET_CONTEXT;
    HANDLE thread = OpenThread(rights, FALSE, request.Small("thread"));
    if (thread == nullptr || SuspendThread(thread) == static_cast<DWORD>(-1))
    {
        const DWORD error = GetLastError();
        CloseHandle(thread);
        return {ErrorRecord(error)};
    }
    const DWORD error = GoOnAt(thread, request.Number("address")) ? ERROR_SUCCESS : GetLastError();
    ResumeThread(thread);
    CloseHandle(thread);
    return {ErrorRecord(error)};
}

// {"process", "address"}: a further thread of the process begins there. Its number.
Records Inject(const Record& request)
{
    constexpr DWORD rights = PROCESS_CREATE_THREAD | PROCESS_QUERY_INFORMATION | PROCESS_VM_OPERATION |
                             PROCESS_VM_READ | PROCESS_VM_WRITE;
    HANDLE process = OpenProcess(rights, FALSE, request.Small("process"));
    auto* const begin =
        reinterpret_cast<LPTHREAD_START_ROUTINE>(static_cast<ULONG_PTR>(request.Number("address")));
    DWORD number = 0;
    HANDLE thread = CreateRemoteThread(process, nullptr, 0, begin, nullptr, 0, &number);
    const DWORD error = thread != nullptr ? ERROR_SUCCESS : GetLastError();
    CloseHandle(thread);
    CloseHandle(process);
    return {ErrorRecord(error).Set("thread", number)};
}
} // namespace

void AddThreadCommands(CommandTable& table)
{
    table[L"threads"] = ListThreads;
    table[L"derail"] = Derail;
    table[L"inject"] = Inject;
}

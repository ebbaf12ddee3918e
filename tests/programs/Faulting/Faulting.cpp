// Faults in the way that its first argument names, and leaves a dump in the file of the second: with all of
// its memory, or without it for a third argument "small". What it prints is what the dump has to tell.
#include <windows.h>

#include <dbghelp.h>

#include <cstdio>
#include <cwchar>
#include <string>

namespace
{
std::wstring g_dumpFile;
MINIDUMP_TYPE g_dumpType = MiniDumpWithFullMemory;

LONG WINAPI WriteDump(EXCEPTION_POINTERS* pointers)
{
    MINIDUMP_EXCEPTION_INFORMATION exception{GetCurrentThreadId(), pointers, FALSE};
    const HANDLE file = CreateFileW(g_dumpFile.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    const BOOL isWritten = MiniDumpWriteDump(GetCurrentProcess(), GetCurrentProcessId(), file, g_dumpType,
                                             &exception, nullptr, nullptr);
    CloseHandle(file);
    TerminateProcess(GetCurrentProcess(), isWritten != FALSE ? 1 : 2);
    return EXCEPTION_EXECUTE_HANDLER;
}

[[gnu::noinline]] void WriteToNothing(volatile int* where)
{
    *where = 1;
}

[[gnu::noinline]] int DivideBy(int divisor)
{
    return 1000 / divisor;
}

[[gnu::noinline]] void RaiseOwnCode()
{
    RaiseException(0xE0000042, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}

// The one frame that every fault has below its own.
[[gnu::noinline]] void FaultAs(const std::wstring& kind)
{
    std::printf("%lu\n", GetCurrentThreadId());
    std::fflush(stdout);
    if (kind == L"write")
    {
        WriteToNothing(nullptr);
    }
    else if (kind == L"divide")
    {
        DivideBy(0);
    }
    else
    {
        RaiseOwnCode();
    }
}

DWORD WINAPI FaultInThread(void* kind)
{
    FaultAs(static_cast<const wchar_t*>(kind));
    return 0;
}

// "thread-write" faults as "write" does, in a thread of its own.
void FaultWhere(const std::wstring& kind)
{
    const std::wstring prefix = L"thread-";
    if (kind.compare(0, prefix.size(), prefix) != 0)
    {
        FaultAs(kind);
        return;
    }
    std::wstring inThread = kind.substr(prefix.size());
    WaitForSingleObject(CreateThread(nullptr, 0, FaultInThread, inThread.data(), 0, nullptr), INFINITE);
}
} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count < 3)
    {
        return 3;
    }
    g_dumpFile = arguments[2];
    if (count > 3 && std::wcscmp(arguments[3], L"small") == 0)
    {
        g_dumpType = MiniDumpNormal;
    }
    SetUnhandledExceptionFilter(WriteDump);
    FaultWhere(arguments[1]);
    return 0;
}

// Loaded into a running program, takes the place of its crash handler: one call of MiniDumpWriteDump, and the
// end of the process. The dump gets the name of this library.
#include <windows.h>

#include <dbghelp.h>

#include <string>

namespace
{
std::wstring& g_dumpFile = *new std::wstring;

LONG WINAPI WriteBareDump(EXCEPTION_POINTERS* pointers)
{
    MINIDUMP_EXCEPTION_INFORMATION exception{GetCurrentThreadId(), pointers, TRUE};
    const HANDLE file = CreateFileW(g_dumpFile.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    MiniDumpWriteDump(GetCurrentProcess(), GetCurrentProcessId(), file, MiniDumpWithFullMemory, &exception,
                      nullptr, nullptr);
    CloseHandle(file);
    TerminateProcess(GetCurrentProcess(), 1);
    return EXCEPTION_EXECUTE_HANDLER;
}
} // namespace

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* /*reserved*/)
{
    if (reason == DLL_PROCESS_ATTACH)
    {
        wchar_t path[MAX_PATH]{};
        GetModuleFileNameW(module, path, MAX_PATH);
        g_dumpFile = std::wstring(path) + L".dmp";
        SetUnhandledExceptionFilter(&WriteBareDump);
    }
    return TRUE;
}

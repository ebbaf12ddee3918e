// A foreign program that logs. Its arguments: a command, the log folder, the value of "Robust", a count.
#include "VzDbgLog.h"

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>

namespace
{

HMODULE s_library = nullptr;
decltype(&VzDbgInitialize) s_initialize = nullptr;
decltype(&VzDbgTrace) s_trace = nullptr;
decltype(&VzDbgUninitialize) s_uninitialize = nullptr;

template <typename Function>
bool Resolve(const char* name, Function& address)
{
    address = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(s_library, name)));
    return address != nullptr;
}

bool LoadLog()
{
    wchar_t path[MAX_PATH]{};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring folder(path, std::wstring(path).find_last_of(L'\\') + 1);
    s_library = LoadLibraryW((folder + L"VzDbgLog.dll").c_str());
    return Resolve("VzDbgInitialize", s_initialize) && Resolve("VzDbgTrace", s_trace) &&
           Resolve("VzDbgUninitialize", s_uninitialize);
}

void* Open(const wchar_t* folder, const wchar_t* robust)
{
    VzDbgConfig config{};
    config.robust = *robust == L'1' ? 1 : 0;
    wcsncpy(config.logFolder, folder, std::size(config.logFolder) - 1);
    wcscpy(config.logPrefix, L"qda");
    wcscpy(config.logExtension, L"log");
    wcscpy(config.moduleName, L"Client");
    void* handle = nullptr;
    s_initialize(&handle, &config);
    return handle;
}

// 1000 bytes: process id, number, filling.
bool Write(void* handle, unsigned number)
{
    std::wstring line = std::to_wstring(GetCurrentProcessId()) + L" " + std::to_wstring(number) + L" ";
    line += std::wstring(998 - line.size(), L'.') + L"\r\n";
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return s_trace(handle, &now, line.c_str()) == 0;
}

bool WriteAll(void* handle, unsigned count)
{
    bool written = true;
    for (unsigned number = 1; number <= count; ++number)
    {
        written = Write(handle, number) && written;
    }
    return written;
}

void Say(const std::string& text)
{
    std::puts(text.c_str());
    std::fflush(stdout);
}

void WaitForInput()
{
    while (std::getchar() != EOF)
    {
    }
}

bool Run(const std::wstring& command, void* handle, unsigned count)
{
    if (command == L"write")
    {
        return WriteAll(handle, count) && s_uninitialize(handle) == 0;
    }
    if (command == L"acknowledge") // until it is killed
    {
        for (unsigned number = 1; Write(handle, number); ++number)
        {
            Say(std::to_string(number));
        }
        return false;
    }
    if (command == L"hold")
    {
        Say(WriteAll(handle, count) ? "holding" : "failed");
        WaitForInput();
        return s_uninitialize(handle) == 0;
    }
    if (command == L"leave") // with the log open
    {
        return WriteAll(handle, count);
    }
    if (command == L"unload") // with the log open
    {
        return WriteAll(handle, count) && FreeLibrary(s_library);
    }
    return false;
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 5 || !LoadLog())
    {
        return EXIT_FAILURE;
    }
    void* const handle = Open(arguments[2], arguments[3]);
    const auto lines = static_cast<unsigned>(std::wcstoul(arguments[4], nullptr, 10));
    return handle != nullptr && Run(arguments[1], handle, lines) ? EXIT_SUCCESS : EXIT_FAILURE;
}

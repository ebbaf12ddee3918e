#include <cstddef>
#include <sstream>
#include <string>

#include <windows.h>

#include "Commands.h"
#include "MenuReader.h"

namespace
{
constexpr UINT GetMenuOfPopup = 0x01E1; // MN_GETHMENU
constexpr DWORD Patience = 20000;       // milliseconds

// Lets the other process load a library, to the end of its loading.
DWORD LoadInto(HANDLE process, const std::wstring& library)
{
    const std::size_t size = (library.size() + 1) * sizeof(wchar_t);
    void* const path = VirtualAllocEx(process, nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    if (path == nullptr || !WriteProcessMemory(process, path, library.c_str(), size, nullptr))
    {
        return GetLastError();
    }
    // The system's own libraries stand at the same place in every process.
    const auto load = reinterpret_cast<LPTHREAD_START_ROUTINE>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "LoadLibraryW")));
    HANDLE thread = CreateRemoteThread(process, nullptr, 0, load, path, 0, nullptr);
    const bool ended = thread != nullptr && WaitForSingleObject(thread, Patience) == WAIT_OBJECT_0;
    const DWORD error = thread == nullptr ? GetLastError() : ERROR_TIMEOUT;
    CloseHandle(thread);
    if (ended)
    {
        VirtualFreeEx(process, path, 0, MEM_RELEASE);
    }
    return ended ? ERROR_SUCCESS : error;
}

Records Split(const MenuReading& reading)
{
    Records records{ErrorRecord(ERROR_SUCCESS)};
    std::istringstream lines(std::string(reading.text, reading.size));
    for (std::string line; std::getline(lines, line);)
    {
        records.emplace_back(line);
    }
    return records;
}

Records ReadThrough(DWORD number, MenuReading& reading, const std::wstring& library)
{
    constexpr DWORD rights = PROCESS_CREATE_THREAD | PROCESS_VM_OPERATION | PROCESS_VM_WRITE |
                             PROCESS_VM_READ | PROCESS_QUERY_INFORMATION;
    HANDLE process = OpenProcess(rights, FALSE, number);
    const DWORD error = process != nullptr ? LoadInto(process, library) : GetLastError();
    CloseHandle(process);
    return error == ERROR_SUCCESS ? Split(reading) : Records{ErrorRecord(error)};
}

// {"window", "reader"}: what the menu shows that stands in this popup window, read by way of MenuReader.dll.
Records ReadMenu(const Record& request)
{
    HWND window = reinterpret_cast<HWND>(request.Number("window"));
    DWORD_PTR menu = 0;
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (!SendMessageTimeoutW(window, GetMenuOfPopup, 0, 0, SMTO_NORMAL, Patience, &menu) || menu == 0)
    {
        return {ErrorRecord(ERROR_INVALID_MENU_HANDLE)};
    }
    HANDLE section =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                           static_cast<DWORD>(menuReadingSize), MenuReadingName(process).c_str());
    void* const view = MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, 0);
    if (view == nullptr)
    {
        return {ErrorRecord(GetLastError())};
    }
    auto& reading = *static_cast<MenuReading*>(view);
    reading.window = request.Number("window");
    reading.menu = menu;
    reading.size = 0;
    Records records = ReadThrough(process, reading, request.Text("reader"));
    UnmapViewOfFile(view);
    CloseHandle(section);
    return records;
}
} // namespace

void AddMenuCommands(CommandTable& table)
{
    table[L"menu"] = ReadMenu;
}

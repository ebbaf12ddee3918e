#include <cstddef>
#include <string>
#include <vector>

#include <windows.h>

#include "Commands.h"

namespace
{
// Two hexadecimal digits a byte.
std::vector<std::byte> BytesOf(const std::wstring& digits)
{
    std::vector<std::byte> bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
    {
        bytes.push_back(static_cast<std::byte>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

// Where the bytes then are; null if the system refuses. They end at the end of a page, and whoever reads
// beyond them faults on the one behind it. They stay there as long as the process.
void* Put(HANDLE process, const std::vector<std::byte>& bytes)
{
    constexpr std::size_t page = 4096;
    void* pages = VirtualAllocEx(process, nullptr, 2 * page, MEM_RESERVE, PAGE_NOACCESS);
    auto* first = static_cast<std::byte*>(VirtualAllocEx(process, pages, page, MEM_COMMIT, PAGE_READWRITE));
    if (pages == nullptr || first == nullptr)
    {
        return nullptr;
    }
    void* place = first + page - bytes.size();
    return WriteProcessMemory(process, place, bytes.data(), bytes.size(), nullptr) ? place : nullptr;
}

// {"process", "bytes"}: puts bytes, a page at most, into the memory of a process and tells where.
Records Place(const Record& request)
{
    constexpr DWORD rights = PROCESS_VM_OPERATION | PROCESS_VM_WRITE;
    HANDLE process = OpenProcess(rights, FALSE, request.Small("process"));
    void* address = process != nullptr ? Put(process, BytesOf(request.Text("bytes"))) : nullptr;
    const DWORD error = address != nullptr ? ERROR_SUCCESS : GetLastError();
    CloseHandle(process);
    return {ErrorRecord(error).Set("address", reinterpret_cast<ULONG_PTR>(address))};
}
} // namespace

void AddMemoryCommands(CommandTable& table)
{
    table[L"place"] = Place;
}

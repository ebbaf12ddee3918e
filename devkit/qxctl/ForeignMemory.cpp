#include "ForeignMemory.h"

ForeignMemory::~ForeignMemory()
{
    if (m_memory != nullptr)
    {
        const DWORD lastError = GetLastError();
        VirtualFreeEx(m_process.Get(), m_memory, 0, MEM_RELEASE);
        SetLastError(lastError);
    }
}

bool ForeignMemory::Copy(std::uint32_t processId, std::span<const std::byte> bytes)
{
    m_process.Reset(OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_WRITE, FALSE, processId));
    if (!m_process)
    {
        return false;
    }
    m_memory =
        VirtualAllocEx(m_process.Get(), nullptr, bytes.size(), MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    SIZE_T written = 0;
    return m_memory != nullptr &&
           WriteProcessMemory(m_process.Get(), m_memory, bytes.data(), bytes.size(), &written) &&
           written == bytes.size();
}

#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "VzComn_Handle.h"

// A copy of some bytes in another process's memory. Frees it at its end, unless it was left there.
class ForeignMemory
{
public:
    ForeignMemory() = default;
    ~ForeignMemory();

    ForeignMemory(const ForeignMemory&) = delete;
    ForeignMemory& operator=(const ForeignMemory&) = delete;

    // Called once. False: the last error says why.
    [[nodiscard]] bool Copy(std::uint32_t processId, std::span<const std::byte> bytes);

    // In the other process.
    [[nodiscard]] LPARAM Address() const { return reinterpret_cast<LPARAM>(m_memory); }

    // For a process that may read the bytes later on.
    void Leave() { m_memory = nullptr; }

private:
    VzCommon::KernelHandle m_process;
    void* m_memory = nullptr;
};

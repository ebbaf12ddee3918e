#pragma once

#include <cstddef>
#include <cstring>

namespace VzCommon
{

// Zeroes memory that held a secret, and is not optimised away although nobody reads the memory again.
inline void SecureWipe(void* memory, std::size_t length)
{
    std::memset(memory, 0, length);
    __asm__ volatile("" : : "r"(memory) : "memory");
}

} // namespace VzCommon

#include "ScarceMemory.h"

#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{
constexpr long long never = -1;

std::atomic<long long> g_blocks = 0;
std::atomic<bool> g_noMemory = false;
std::atomic<std::size_t> g_failingSize = 0;
std::atomic<DWORD> g_sparedThread = 0;
std::atomic<long long> g_successes = never; // until the failure
std::atomic<DWORD> g_failingThread = 0;

void* Allocate(std::size_t size)
{
    if (g_successes != never && GetCurrentThreadId() == g_failingThread && g_successes-- == 0)
    {
        return nullptr;
    }
    if (size != 0 && size == g_failingSize && GetCurrentThreadId() != g_sparedThread)
    {
        return nullptr;
    }
    void* const block = std::malloc(size == 0 ? 1 : size);
    g_blocks += block != nullptr ? 1 : 0;
    return block;
}

void* AllocateOrThrow(std::size_t size)
{
    void* const block = Allocate(size);
    if (block == nullptr)
    {
        throw std::bad_alloc();
    }
    return block;
}

void Free(void* block)
{
    g_blocks -= block != nullptr ? 1 : 0;
    std::free(block);
}
} // namespace

// These take the place of the runtime's.
void* operator new(std::size_t size)
{
    return AllocateOrThrow(size);
}

void* operator new[](std::size_t size)
{
    return AllocateOrThrow(size);
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return g_noMemory ? nullptr : Allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return g_noMemory ? nullptr : Allocate(size);
}

void operator delete(void* block) noexcept
{
    Free(block);
}

void operator delete[](void* block) noexcept
{
    Free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept
{
    Free(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept
{
    Free(block);
}

long long BlocksAlive()
{
    return g_blocks;
}

NoMemory::NoMemory()
{
    g_noMemory = true;
}

NoMemory::~NoMemory()
{
    g_noMemory = false;
}

OneFailure::OneFailure(long long successes)
{
    g_failingThread = GetCurrentThreadId();
    g_successes = successes;
}

OneFailure::~OneFailure()
{
    g_successes = never;
}

bool OneFailure::HasFailed() const
{
    return g_successes == never;
}

NoMemoryElsewhere::NoMemoryElsewhere(std::size_t size)
{
    g_sparedThread = GetCurrentThreadId();
    g_failingSize = size;
}

NoMemoryElsewhere::~NoMemoryElsewhere()
{
    g_failingSize = 0;
}

Plenty::Plenty() : m_successes(GetCurrentThreadId() == g_failingThread ? g_successes.exchange(never) : never)
{
}

Plenty::~Plenty()
{
    if (m_successes != never)
    {
        g_successes = m_successes;
    }
}

#include "Deaths.h"

#include <windows.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <map>
#include <stdexcept>
#include <vector>

#include <emmintrin.h>

#include "Hidden.h"
#include "VzComn_Exception.h"

namespace
{
void Read()
{
    static_cast<void>(*Hidden(reinterpret_cast<volatile int*>(std::uintptr_t{16})));
}

void Write()
{
    *Hidden(reinterpret_cast<volatile int*>(std::uintptr_t{16})) = 1;
}

void Execute()
{
    Hidden(reinterpret_cast<Death>(std::uintptr_t{16}))();
}

// By hand: a checked build traps before the processor does.
void Divide()
{
    __asm__ volatile("xorl %%edx, %%edx\n\tmovl $1, %%eax\n\tidivl %%edx" : : : "eax", "edx", "cc");
}

// Through a pointer: a compiler makes a loop of a recursion that it sees through.
int Recurse(int depth) // NOLINT(misc-no-recursion)
{
    volatile char used[4096];
    used[0] = static_cast<char>(depth);
    return Hidden(&Recurse)(depth + 1) + used[0];
}

void Overflow()
{
    Recurse(0);
}

void Illegal()
{
    __asm__ volatile("ud2");
}

void Privileged()
{
    __asm__ volatile("hlt");
}

void Breakpoint()
{
    __asm__ volatile("int3");
}

// The processor wants this one at a multiple of sixteen.
void Misaligned()
{
    alignas(16) char data[32]{};
    const char* odd = Hidden(static_cast<const char*>(data)) + 1;
    __m128i value;
    __asm__ volatile("movaps (%1), %0" : "=x"(value) : "r"(odd) : "memory");
    static_cast<void>(value);
}

template <DWORD Code>
void Raise()
{
    RaiseException(Code, 0, 0, nullptr);
}

void Throw()
{
    throw std::runtime_error("nobody catches this");
}

void ThrowPointer()
{
    VZ_THROW(VzCommon::Exception::Base, 5);
}

void ThrowThroughNoexcept() noexcept
{
    Throw(); // NOLINT(bugprone-exception-escape)
}

void Rethrow()
{
    throw;
}

void Terminate()
{
    std::terminate();
}

void Abort()
{
    std::abort();
}

// As a library does, which has a copy of the runtime of its own.
void RaiseAbort()
{
    std::raise(SIGABRT);
}

struct Abstract
{
    Abstract() { Hidden(this)->CallBack(); }

    virtual ~Abstract() = default;

    [[gnu::noinline]] void CallBack() { Missing(); }

    virtual void Missing() = 0;
};

struct Concrete : Abstract
{
    void Missing() override {}
};

void PureCall()
{
    Concrete object;
}

void StandardAssertion()
{
    const std::vector<int> numbers(Hidden(std::size_t{1}));
    if (numbers.at(Hidden(std::size_t{1})) != 0)
    {
        std::abort();
    }
}

[[gnu::noinline]] void SmashStack()
{
    volatile char room[16]{};
    volatile char* const begin = Hidden(static_cast<volatile char*>(room));
    for (int i = 0; i < Hidden(64); ++i)
    {
        begin[i] = 'x';
    }
}

const std::map<std::wstring, Death> deaths{
    {L"read", &Read},
    {L"write", &Write},
    {L"execute", &Execute},
    {L"divide", &Divide},
    {L"overflow", &Overflow},
    {L"illegal", &Illegal},
    {L"privileged", &Privileged},
    {L"breakpoint", &Breakpoint},
    {L"misaligned", &Misaligned},
    {L"raise-misaligned", &Raise<EXCEPTION_DATATYPE_MISALIGNMENT>},
    {L"raise-bounds", &Raise<EXCEPTION_ARRAY_BOUNDS_EXCEEDED>},
    {L"raise-overflow", &Raise<EXCEPTION_INT_OVERFLOW>},
    {L"raise-handle", &Raise<EXCEPTION_INVALID_HANDLE>},
    {L"raise-heap", &Raise<0xC0000374>},
    {L"raise-own", &Raise<0xE0000042>},
    {L"throw", &Throw},
    {L"throw-pointer", &ThrowPointer},
    {L"throw-noexcept", &ThrowThroughNoexcept},
    {L"rethrow", &Rethrow},
    {L"terminate", &Terminate},
    {L"abort", &Abort},
    {L"raise-abort", &RaiseAbort},
    {L"pure-call", &PureCall},
    {L"assertion", &StandardAssertion},
    {L"smash", &SmashStack},
};
} // namespace

bool IsDeath(const std::wstring& name)
{
    return deaths.contains(name) || RareDeaths().contains(name);
}

void DieOf(const std::wstring& name)
{
    const auto found = deaths.find(name);
    (found != deaths.end() ? found->second : RareDeaths().at(name))();
}

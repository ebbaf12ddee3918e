#include "Faults.h"

#include <cstdint>
#include <cstdlib>
#include <map>
#include <stdexcept>

#include <cxxabi.h>
#include <windows.h>

namespace
{
using Fault = void (*)();

// What the compiler must not see through.
template <typename Value>
Value Hidden(Value value)
{
    volatile Value hidden = value;
    return hidden;
}

// Near the beginning of the address space, where nothing is ever mapped.
template <typename Pointer>
Pointer Nowhere()
{
    return Hidden(reinterpret_cast<Pointer>(std::uintptr_t{16}));
}

void FaultByRead()
{
    static_cast<void>(*Nowhere<volatile int*>());
}

void FaultByWrite()
{
    *Nowhere<volatile int*>() = 1;
}

void FaultByExecute()
{
    Nowhere<Fault>()();
}

// By hand: a compiler may leave a division out whose divisor it knows.
void FaultByDivision()
{
    __asm__ volatile("xorl %%edx, %%edx\n\tmovl $1, %%eax\n\tidivl %%edx" : : : "eax", "edx", "cc");
}

void FaultByIllegalInstruction()
{
    __asm__ volatile("ud2");
}

// Through a pointer: a compiler makes a loop of a recursion that it sees through.
int Recurse(int depth) // NOLINT(misc-no-recursion)
{
    volatile char used[4096];
    used[0] = static_cast<char>(depth);
    return Hidden(&Recurse)(depth + 1) + used[0];
}

void FaultByOverflow()
{
    Recurse(0);
}

// On a thread of the engine's own nobody catches it.
void FaultByThrow()
{
    throw std::runtime_error("an engine's exception");
}

void FaultByAbort()
{
    std::abort();
}

// What the table of a class under construction holds for its pure virtual functions. A compiler that sees
// such a call coming leaves it out.
void FaultByPureCall()
{
    abi::__cxa_pure_virtual();
}

void FaultByRaise()
{
    constexpr DWORD own = 0xE0000042;
    RaiseException(own, 0, 0, nullptr);
}

const std::map<std::wstring, Fault>& Faults()
{
    static const std::map<std::wstring, Fault> faults{
        {L"read", &FaultByRead},
        {L"write", &FaultByWrite},
        {L"execute", &FaultByExecute},
        {L"divide", &FaultByDivision},
        {L"illegal", &FaultByIllegalInstruction},
        {L"overflow", &FaultByOverflow},
        {L"throw", &FaultByThrow},
        {L"abort", &FaultByAbort},
        {L"pure-call", &FaultByPureCall},
        {L"raise", &FaultByRaise},
    };
    return faults;
}
} // namespace

bool IsFault(const std::wstring& name)
{
    return Faults().contains(name);
}

void Commit(const std::wstring& name)
{
    Faults().at(name)();
}

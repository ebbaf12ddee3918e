#include "Deaths.h"

#include <windows.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>
#include <stdexcept>

#include <xmmintrin.h>

#include "Hidden.h"
#include "ImportPatch.h"

extern "C" __declspec(dllimport) void AbortInLibrary();

namespace
{
constexpr std::size_t pageSize = 4096;

volatile char* NewPages(std::size_t size, DWORD protection)
{
    return static_cast<volatile char*>(VirtualAlloc(nullptr, size, MEM_COMMIT | MEM_RESERVE, protection));
}

void WriteNowhere()
{
    *Hidden(reinterpret_cast<volatile int*>(std::uintptr_t{16})) = 1;
}

// By the trap flag.
void SingleStep()
{
    __asm__ volatile("pushfq\n\torq $0x100, (%%rsp)\n\tpopfq\n\tnop" : : : "cc", "memory");
}

void GuardPage()
{
    *NewPages(pageSize, PAGE_READWRITE | PAGE_GUARD) = 1;
}

void WriteReadOnly()
{
    *NewPages(pageSize, PAGE_READONLY) = 1;
}

void ReadFreed()
{
    volatile char* const page = NewPages(pageSize, PAGE_READWRITE);
    VirtualFree(const_cast<char*>(page), 0, MEM_RELEASE);
    static_cast<void>(*page);
}

void ExecuteData()
{
    static unsigned char returns[]{0xC3};
    reinterpret_cast<Death>(Hidden(reinterpret_cast<std::uintptr_t>(&returns)))();
}

// Such an address has no memory on any machine: the processor refuses the jump itself.
void JumpFar()
{
    reinterpret_cast<Death>(Hidden(std::uintptr_t{0x8123456789ABCDEF}))();
}

// With the direction flag set, which no function expects.
void WriteBackward()
{
    __asm__ volatile("std\n\tmovl $1, 16" : : : "memory");
}

// With the check of alignment on, which the handling's own code does not keep.
void WriteUnderAlignmentCheck()
{
    __asm__ volatile("pushfq\n\torq $0x40000, (%%rsp)\n\tpopfq\n\tmovl $1, 16" : : : "cc", "memory");
}

void DivideFloats()
{
    _MM_SET_EXCEPTION_MASK(_MM_GET_EXCEPTION_MASK() & ~_MM_MASK_DIV_ZERO);
    volatile double quotient = 1;
    volatile double zero = 0;
    quotient = quotient / zero;
}

// By the processor's older unit, which tells of it at its next instruction.
void DivideOldFloats()
{
    __asm__ volatile("fninit\n\tpushq $0x360\n\tfldcw (%%rsp)\n\tpopq %%rax\n\t"
                     "fld1\n\tfldz\n\tfdivrp\n\tfwait"
                     :
                     :
                     : "rax", "memory");
}

// A few bytes above the guard of the stack's reserve.
void WriteAtEndOfStack()
{
    MEMORY_BASIC_INFORMATION stack{};
    VirtualQuery(&stack, &stack, sizeof(stack));
    constexpr std::size_t left = 64;
    __asm__ volatile("movq %0, %%rsp\n\tmovl $1, 16"
                     :
                     : "r"(static_cast<char*>(stack.BaseAddress) + left)
                     : "memory");
}

void WriteOnOtherStack()
{
    constexpr std::size_t size = 1024 * 1024;
    constexpr std::size_t used = 256;
    volatile char* const stack = NewPages(size, PAGE_READWRITE);
    __asm__ volatile("movq %0, %%rsp\n\tmovl $1, 16" : : "r"(stack + size - used) : "memory");
}

template <DWORD Code>
void Raise()
{
    RaiseException(Code, 0, 0, nullptr);
}

struct ThrowsAtEnd
{
    ThrowsAtEnd() = default;

    ~ThrowsAtEnd() noexcept(false) { throw std::runtime_error("second"); }

    ThrowsAtEnd(const ThrowsAtEnd&) = delete;
    ThrowsAtEnd& operator=(const ThrowsAtEnd&) = delete;
};

struct FaultsAtEnd
{
    FaultsAtEnd() = default;

    ~FaultsAtEnd() { WriteNowhere(); }

    FaultsAtEnd(const FaultsAtEnd&) = delete;
    FaultsAtEnd& operator=(const FaultsAtEnd&) = delete;
};

// Ends an object while an exception passes by.
template <typename Last>
void Unwind()
{
    try
    {
        const Last last;
        throw std::runtime_error("first");
    }
    catch (...) // never comes here
    {
        return;
    }
}

// What catches every exception of the language does not catch this one.
void FaultBelowCatch()
{
    try
    {
        WriteNowhere();
        throw std::runtime_error("not thrown");
    }
    catch (...)
    {
        return;
    }
}

decltype(&std::malloc) g_allocate = nullptr;

// The little that a runtime needs to throw at all is mostly left.
void* __cdecl AllocateLittle(std::size_t size)
{
    constexpr std::size_t much = 1024;
    return size < much ? g_allocate(size) : nullptr;
}

void RunOutOfMemory()
{
    static const TestSupport::ImportPatch patch(nullptr, "malloc", &AllocateLittle);
    g_allocate = patch.Original<decltype(std::malloc)>();
    for (;;)
    {
        *Hidden(new char[pageSize]) = 1;
    }
}

// As the C library leaves it while it calls the handler for another thread that aborts.
void ForgetAbortHandler()
{
    std::signal(SIGABRT, SIG_DFL);
}

void AbortInEarlyLibrary()
{
    ForgetAbortHandler();
    AbortInLibrary();
}

void AbortInLateLibrary()
{
    const HMODULE library = LoadLibraryW(L"LateAbortingLibrary.dll");
    ForgetAbortHandler();
    reinterpret_cast<Death>(reinterpret_cast<void*>(GetProcAddress(library, "AbortInLibrary")))();
}
} // namespace

const std::map<std::wstring, Death>& RareDeaths()
{
    static const std::map<std::wstring, Death> deaths{
        {L"single-step", &SingleStep},
        {L"guard-page", &GuardPage},
        {L"write-read-only", &WriteReadOnly},
        {L"read-freed", &ReadFreed},
        {L"execute-data", &ExecuteData},
        {L"jump-far", &JumpFar},
        {L"write-backward", &WriteBackward},
        {L"write-aligned", &WriteUnderAlignmentCheck},
        {L"divide-floats", &DivideFloats},
        {L"divide-old-floats", &DivideOldFloats},
        {L"write-at-end", &WriteAtEndOfStack},
        {L"write-on-other", &WriteOnOtherStack},
        {L"raise-in-page", &Raise<EXCEPTION_IN_PAGE_ERROR>},
        {L"raise-continued", &Raise<EXCEPTION_NONCONTINUABLE_EXCEPTION>},
        {L"raise-float-stack", &Raise<EXCEPTION_FLT_STACK_CHECK>},
        {L"throw-unwinding", &Unwind<ThrowsAtEnd>},
        {L"fault-unwinding", &Unwind<FaultsAtEnd>},
        {L"fault-below-catch", &FaultBelowCatch},
        {L"no-memory", &RunOutOfMemory},
        {L"early-library-abort", &AbortInEarlyLibrary},
        {L"late-library-abort", &AbortInLateLibrary},
    };
    return deaths;
}

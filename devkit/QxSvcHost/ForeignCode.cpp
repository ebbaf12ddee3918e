#include "ForeignCode.h"

#include <windows.h>

namespace
{
constexpr DWORD cppExceptionOfSystemCompiler = 0xE06D7363;

struct Guard
{
    SvcHost::Contain contain;
    DWORD code;
};
} // namespace

extern "C"
{
    // The filter of the frame below: 1 ends the search here, 0 passes the exception on.
    long SvcHostForeignCodeFilter(const EXCEPTION_POINTERS* exception, const void* frame)
    {
        constexpr std::size_t guardSlot = 32; // where the frame keeps its third argument
        auto* guard = *reinterpret_cast<Guard* const*>(static_cast<const char*>(frame) + guardSlot);
        const DWORD code = exception->ExceptionRecord->ExceptionCode;
        const bool isCpp = code == cppExceptionOfSystemCompiler || code == SvcHost::CppException;
        if (!isCpp && guard->contain != SvcHost::Contain::Everything)
        {
            return EXCEPTION_CONTINUE_SEARCH;
        }
        guard->code = code;
        return EXCEPTION_EXECUTE_HANDLER;
    }

    // Calls the function inside a structured exception frame, which this compiler has no statement for. The
    // guard is kept where the filter finds it.
    void SvcHostForeignCodeFrame(void (*function)(void*), void* argument, Guard* guard);
}

asm(R"(
    .text
    .globl SvcHostForeignCodeFrame
    .def SvcHostForeignCodeFrame; .scl 2; .type 32; .endef
    .seh_proc SvcHostForeignCodeFrame
SvcHostForeignCodeFrame:
    subq $56, %rsp
    .seh_stackalloc 56
    .seh_endprologue
    movq %r8, 32(%rsp)
.LForeignCodeBegin:
    movq %rcx, %rax
    movq %rdx, %rcx
    call *%rax
    nop
.LForeignCodeEnd:
    addq $56, %rsp
    ret
    .seh_handler __C_specific_handler, @except
    .seh_handlerdata
    .long 1
    .rva .LForeignCodeBegin, .LForeignCodeEnd, SvcHostForeignCodeFilter, .LForeignCodeEnd
    .text
    .seh_endproc
)");

namespace SvcHost
{

std::uint32_t CallForeignCode(void (*function)(void*), void* argument, Contain contain)
{
    Guard guard{contain, 0};
    SvcHostForeignCodeFrame(function, argument, &guard);
    return guard.code;
}

} // namespace SvcHost

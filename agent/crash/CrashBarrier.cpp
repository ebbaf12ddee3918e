#include "CrashBarrier.h"

#include <windows.h>

#include "CrashFilter.h"

extern "C"
{
    // The handler of the frame below. An exception asks it first whether somebody takes it; nobody shall.
    EXCEPTION_DISPOSITION CrashBarrierHandler(EXCEPTION_RECORD* exception, void* /*frame*/, CONTEXT* context,
                                              void* /*dispatcher*/)
    {
        constexpr DWORD unwinding = 0x66; // the flags of all kinds of it
        if ((exception->ExceptionFlags & unwinding) == 0)
        {
            EXCEPTION_POINTERS pointers{exception, context};
            TopLevelFilter(&pointers);
        }
        return ExceptionContinueSearch;
    }
}

// This compiler has no statement for a structured exception frame.
asm(R"(
    .text
    .globl CallBehindBarrier
    .def CallBehindBarrier; .scl 2; .type 32; .endef
    .seh_proc CallBehindBarrier
CallBehindBarrier:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    movq %rcx, %rax
    movq %rdx, %rcx
    call *%rax
    nop
    addq $40, %rsp
    ret
    .seh_handler CrashBarrierHandler, @except
    .seh_endproc
)");

// What the linker puts in the place of functions of the compiler's runtime (CMakeLists.txt): calls of
// NAME come to __wrap_NAME, and the function itself is __real_NAME.
#include <windows.h>

#include "CrashRoutes.h"
#include "CrashState.h"

extern "C"
{
    LONG CALLBACK __real__gnu_exception_handler(EXCEPTION_POINTERS* pointers);
    LONG CALLBACK __wrap__gnu_exception_handler(EXCEPTION_POINTERS* pointers);
    [[noreturn]] void __real_abort();
    [[noreturn]] void __wrap_abort();
    [[noreturn]] void __real___stack_chk_fail();
    [[noreturn]] void __wrap___stack_chk_fail();
}

// The runtime guards the main thread with this handler, which lets a program go on at the instruction that
// raised one of these, again and again.
LONG CALLBACK __wrap__gnu_exception_handler(EXCEPTION_POINTERS* pointers)
{
    switch (pointers->ExceptionRecord->ExceptionCode)
    {
    case EXCEPTION_DATATYPE_MISALIGNMENT:
    case EXCEPTION_ARRAY_BOUNDS_EXCEEDED:
    case EXCEPTION_FLT_STACK_CHECK:
    case EXCEPTION_INT_OVERFLOW:
    case EXCEPTION_INVALID_HANDLE: return EXCEPTION_CONTINUE_SEARCH;
    default: return __real__gnu_exception_handler(pointers);
    }
}

// The C library's handler for the signal of an abort serves one thread at a time: of two that abort at once,
// the second would end the process while the first is still in the filter. What LibraryAborts does at run
// time for the libraries, the linker does here, whatever becomes of that.
void __wrap_abort()
{
    if (s_pfnCrashHandler == nullptr)
    {
        __real_abort();
    }
    CrashWith(abortCode);
}

// The runtime's own function speaks to a console first, which a program without one may wait for.
void __wrap___stack_chk_fail()
{
    if (s_pfnCrashHandler == nullptr)
    {
        __real___stack_chk_fail();
    }
    CrashWith(stackSmashedCode);
}

#include "InvalidParameter.h"

#include <cstdlib>
#include <cwchar>

#include "CrashFilter.h"
#include "CrashState.h"
#include "VzComn_LogFront.h"

void __cdecl InvalidParameterHandler(const wchar_t* /*expression*/, const wchar_t* /*function*/,
                                     const wchar_t* /*file*/, unsigned /*line*/, std::uintptr_t /*reserved*/)
{
    const unsigned long dosErrno = _doserrno;
    int number = 0;
    _get_errno(&number);
    LOG_ERROR
        << L"Pass invalid parameters for security-enhanced versions of CRT Functions occurred. doserrno = "
        << dosErrno << L", errno = " << number << L", errno_str = " << _wcserror(number);
    if (s_bDumpOnInvalidParameter)
    {
        CrashFilter(nullptr);
    }
}

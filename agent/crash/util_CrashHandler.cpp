#include "util_CrashHandler.h"

void InitCrashHandler(unsigned /*reserved*/, const std::wstring& /*crashEventName*/,
                      const std::wstring& /*dumpFolder*/)
{
}

void UninitCrashHandler() {}

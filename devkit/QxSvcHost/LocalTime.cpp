#include "LocalTime.h"

#include <windows.h>

#include "VzComn_String.h"

namespace SvcHost
{

std::wstring LocalTimeText()
{
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return VzCommon::String::Format(L"%04u-%02u-%02uT%02u:%02u:%02u.%03u", now.wYear, now.wMonth, now.wDay,
                                    now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
}

} // namespace SvcHost

#pragma once

#include <windows.h>

#include <string>

#include "VzComn_Handle.h"

namespace TestSupport
{

// Where a test and a program that it has started meet: either side makes the event, under the program's
// process id. It is reset by hand.
[[nodiscard]] inline VzCommon::KernelHandle PeerEvent(const wchar_t* what, unsigned long processId)
{
    const std::wstring name = L"Local\\Peer " + std::to_wstring(processId) + L' ' + what;
    return VzCommon::KernelHandle(CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
}

[[nodiscard]] inline bool IsSignalledInTime(const VzCommon::KernelHandle& event)
{
    return WaitForSingleObject(event.Get(), 30000) == WAIT_OBJECT_0;
}

} // namespace TestSupport

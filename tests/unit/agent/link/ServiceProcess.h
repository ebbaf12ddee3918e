#pragma once

#include <windows.h>

#include <string>

#include "VzComn_Handle.h"

// What the link takes for the process of the service: an event, signalled when the process dies. The handle
// that goes to the program under test belongs to it.
class ServiceProcess
{
public:
    ServiceProcess() : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr))
    {
        DuplicateHandle(GetCurrentProcess(), m_event.Get(), GetCurrentProcess(), &m_given, 0, FALSE,
                        DUPLICATE_SAME_ACCESS);
    }

    // As the service would write it.
    [[nodiscard]] std::string Handle() const
    {
        return std::to_string(reinterpret_cast<std::uintptr_t>(m_given));
    }

    void Kill() const { SetEvent(m_event.Get()); }

    [[nodiscard]] bool IsHandleClosed() const
    {
        DWORD flags = 0;
        return GetHandleInformation(m_given, &flags) == FALSE;
    }

    // For a test that counts handles: a thread that is told to stop leaves it open.
    void CloseIfOpen() const
    {
        if (!IsHandleClosed())
        {
            const VzCommon::KernelHandle handle(m_given);
        }
    }

private:
    VzCommon::KernelHandle m_event;
    HANDLE m_given = nullptr;
};

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

    // Nobody may wait for the process any more. The system gives the number of a closed handle to another
    // object soon, so the look is whether the handle still moves with the event.
    [[nodiscard]] bool IsHandleClosed() const
    {
        ResetEvent(m_event.Get());
        const bool alive = WaitForSingleObject(m_given, 0) == WAIT_TIMEOUT;
        SetEvent(m_event.Get());
        return !alive || WaitForSingleObject(m_given, 0) != WAIT_OBJECT_0;
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

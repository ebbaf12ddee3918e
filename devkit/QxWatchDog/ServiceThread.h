#pragma once

#include <windows.h>

#include <chrono>
#include <memory>
#include <string>

namespace WatchDog
{

// Keeps the host service on a thread of its own: the service manager may take half a minute to answer, and
// nobody else is to wait for it. Belongs to one thread.
class ServiceThread
{
public:
    // Nothing is wanted of the service at first.
    explicit ServiceThread(const std::wstring& name);

    // Leaves the service as it is. A thread that the service manager holds up is left behind; it ends as soon
    // as it has its answer.
    ~ServiceThread();

    ServiceThread(const ServiceThread&) = delete;
    ServiceThread& operator=(const ServiceThread&) = delete;

    // The last wish holds.
    void WantRunning();
    void WantStopped();

    // Stops the service and ends the thread; nothing can be wanted any more. False if that takes longer, or
    // if it is given up: if that event is signalled.
    [[nodiscard]] bool EndStopped(std::chrono::milliseconds limit, HANDLE giveUp);

private:
    class State;

    std::shared_ptr<State> m_state; // shared with the thread, which may live longer
};

} // namespace WatchDog

#pragma once

#include "VzComn_Exception.h"
#include "VzComn_SecurityAttributes.h"

#include <windows.h>

#include <cstdint>

namespace VzCommon::Thread
{

class Exception : public VzCommon::Exception::Base
{
public:
    using Base::Base;
};

// Starts a worker thread. The object belongs to the thread that made it and may die while the worker runs.
// Failures are thrown as Thread::Exception.
class Base
{
public:
    using Procedure = unsigned(__stdcall*)(void* argument);

    // The time-out is in milliseconds and counts for Wait alone.
    explicit Base(std::uint32_t waitTimeout = INFINITE) noexcept : timeout(waitTimeout) {}

    // Deliberate: neither waits for the thread nor closes its handle. Users leave this object behind a
    // running thread, whose handle stays open to the end of the process.
    virtual ~Base() = default;

    Base(const Base&) = delete;
    Base& operator=(const Base&) = delete;

    // Creates the thread suspended. Throws code 160 for a null procedure, 1054 when there is no thread.
    void Create(AccessControl::SecurityAttributes& attributes, Procedure procedure, void* argument);

    // Sets the priority and lets the thread go, without waiting.
    void Run(int priority);

    // The same, and then waits for the thread's end if asked to. Throws code 6 before Create, else the
    // system's error.
    void RunAndWait(bool wait, int priority);

    // Waits for the thread's end; returns at once when called by the thread itself. Throws code 6 before
    // Create, 258 when the time is over, else the system's error.
    void Wait();

    // Weak.
    [[nodiscard]] HANDLE Handle() const noexcept { return handle; }

    [[nodiscard]] std::uint32_t GetThreadId() const noexcept { return threadId; }

private:
    HANDLE handle = nullptr;
    std::uint32_t threadId = 0;
    std::uint32_t timeout;
};

} // namespace VzCommon::Thread

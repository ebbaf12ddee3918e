#pragma once

#include "VzComn_Handle.h"

#include <cstdint>
#include <string>

namespace VzCommon::Synchronize
{

// The abstract lock.
class Base
{
public:
    Base() = default;
    virtual ~Base() = default;

    Base(const Base&) = delete;
    Base& operator=(const Base&) = delete;

    virtual void Lock() = 0;
    virtual void Unlock() = 0;
};

// Recursive for the owning thread. Any thread.
class CriticalSection : public Base
{
public:
    CriticalSection();
    ~CriticalSection() override;

    void Lock() override;
    void Unlock() override;

    // Does not wait. False while another thread holds the lock.
    [[nodiscard]] bool TryLock();

private:
    CRITICAL_SECTION section{};
};

// A named mutex of the session. The object belongs to the thread that made it; the mutex belongs to the
// thread that locked it.
class Mutex : public Base
{
public:
    // Takes the Local form of the name. With mustBeNew, an object that exists fails with 183 and nothing is
    // held. Fails with 6 when this object has a handle already, 160 for an unusable name, else with the
    // system's error. Success on an object that exists leaves 183 in error: test the result, not the error.
    bool CreateLocal(const std::wstring& name, bool mustBeNew, bool initialOwner, std::uint32_t* error);

    // False if there is no handle, or if the system refuses to close it. The handle is gone either way.
    bool Close();

    [[nodiscard]] HANDLE Handle() const { return handle.Get(); }

    // Deliberate: a time-out or a failed wait is not reported.
    void Lock() override;

    // From a thread that does not own the mutex, fails silently.
    void Unlock() override;

private:
    KernelHandle handle;
    std::uint32_t timeout = INFINITE;
};

// A named event that all sessions share. Belongs to the thread that made it. A lock in type alone: whoever
// waits calls WaitForSingleObject on the handle with a time-out of its own.
class Event : public Base
{
public:
    // Takes the Global form of the name; reports as Mutex::CreateLocal does.
    bool CreateGlobal(const std::wstring& name, bool mustBeNew, bool manualReset, bool initialState,
                      std::uint32_t* error);

    // Creates or opens the event that several processes share: manual reset, not signalled at first. Null
    // counts as an empty name.
    bool CreateMultipleGlobal(const wchar_t* name, std::uint32_t* error);

    // False if there is no handle, or if the system refuses to close it. The handle is gone either way.
    bool Close();

    // True means that the event exists and that this process may query it; false says nothing about why.
    [[nodiscard]] static bool ExistsGlobal(const wchar_t* name);

    [[nodiscard]] HANDLE Handle() const { return handle.Get(); }

    // Deliberate: empty, see above.
    void Lock() override {}

    void Unlock() override {}

private:
    KernelHandle handle;
    std::uint32_t timeout = INFINITE; // Deliberate: no operation of the event waits.
};

// Holds a lock for the length of a scope. The lock must outlive it; null is allowed and locks nothing.
class SingleLock
{
public:
    explicit SingleLock(Base* lockToHold);
    ~SingleLock();

    SingleLock(const SingleLock&) = delete;
    SingleLock& operator=(const SingleLock&) = delete;

private:
    Base* lock; // Weak.
};

} // namespace VzCommon::Synchronize

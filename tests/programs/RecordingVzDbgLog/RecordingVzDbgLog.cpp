// A log writer that keeps its lines in memory.
#include "RecordingVzDbgLog.h"

#include <deque>
#include <string>

namespace
{

struct Recorded
{
    SYSTEMTIME time;
    std::wstring line;
};

class Lock
{
public:
    explicit Lock(SRWLOCK& lockToHold) : m_lock(lockToHold) { AcquireSRWLockExclusive(&m_lock); }

    ~Lock() { ReleaseSRWLockExclusive(&m_lock); }

    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    SRWLOCK& m_lock;
};

class Recorder final : public RecordingLog
{
public:
    std::size_t Count() override
    {
        const Lock guard(m_lock);
        return m_lines.size();
    }

    const wchar_t* Line(std::size_t index) override
    {
        const Lock guard(m_lock);
        return m_lines.at(index).line.c_str();
    }

    SYSTEMTIME Time(std::size_t index) override
    {
        const Lock guard(m_lock);
        return m_lines.at(index).time;
    }

    void Add(const SYSTEMTIME& time, const wchar_t* line)
    {
        const Lock guard(m_lock);
        m_lines.push_back({time, line});
    }

private:
    SRWLOCK m_lock = SRWLOCK_INIT;
    std::deque<Recorded> m_lines; // a deque, so that lines stay where they are
};

Recorder s_recorder;
std::atomic<DWORD> s_threadInside{0};

// Counts a call that another thread's call is still under way with.
class Call
{
public:
    Call() : m_outer(s_threadInside.exchange(GetCurrentThreadId()))
    {
        if (m_outer != 0 && m_outer != GetCurrentThreadId())
        {
            ++s_recorder.overlaps;
        }
    }

    ~Call() { s_threadInside = m_outer; }

    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

private:
    DWORD m_outer;
};

// Any address will do.
void* Handle()
{
    return &s_recorder;
}

void CheckHandle(const void* handle)
{
    if (handle != Handle())
    {
        ++s_recorder.wrongHandles;
    }
}

} // namespace

extern "C" __declspec(dllexport) DWORD VzDbgInitialize(void** handle, const VzDbgConfig* config)
{
    const Call call;
    ++s_recorder.initializations;
    s_recorder.config = *config;
    *handle = s_recorder.givesHandle ? Handle() : nullptr;
    return s_recorder.initializeResult;
}

extern "C" __declspec(dllexport) DWORD VzDbgTrace(void* handle, const SYSTEMTIME* time, const wchar_t* line)
{
    const Call call;
    CheckHandle(handle);
    if (s_recorder.traceResult == ERROR_SUCCESS)
    {
        s_recorder.Add(*time, line);
    }
    if (s_recorder.duringTrace != nullptr)
    {
        s_recorder.duringTrace(line);
    }
    return s_recorder.traceResult;
}

extern "C" __declspec(dllexport) DWORD VzDbgUninitialize(void* handle)
{
    const Call call;
    CheckHandle(handle);
    ++s_recorder.uninitializations;
    return ERROR_SUCCESS;
}

extern "C" __declspec(dllexport) RecordingLog* GetRecordingLog()
{
    return &s_recorder;
}

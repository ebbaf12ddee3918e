#pragma once

#include "Limits.h"
#include "SlimLock.h"

#include <array>
#include <cstdint>
#include <memory>

struct VzDbgConfig;

namespace VzDbgLog
{

class Log;

// The open logs of the process under the handles that callers hold. A handle is a number that never comes
// back, so a stale or invented one finds nothing. Any thread.
class OpenLogs
{
public:
    OpenLogs();
    ~OpenLogs();

    OpenLogs(const OpenLogs&) = delete;
    OpenLogs& operator=(const OpenLogs&) = delete;

    // Begins a log and gives its handle. 0, or the Windows error: 4 if MaxOpenLogs are open.
    DWORD Open(const VzDbgConfig& config, void*& handle);

    // As Log::Write; 6 for a handle that is not open.
    DWORD Write(void* handle, const SYSTEMTIME* time, const wchar_t* line);

    // Ends the log. 6 for a handle that is not open, else 0 or why what was gathered could not be written.
    DWORD Close(void* handle);

    // For the end of the process, when all other threads are gone: what one of them left locked is passed
    // over.
    void FlushAtExit();

private:
    // A place for one log at a time. Its lock is the log's.
    struct Slot
    {
        SlimLock lock;

        // Guarded by lock.
        std::uintptr_t id = 0; // of the log that is or was here
        std::unique_ptr<Log> log;
    };

    [[nodiscard]] Slot& SlotOf(void* handle);

    std::array<Slot, MaxOpenLogs> slots;
};

} // namespace VzDbgLog

#pragma once

#include "SlimLock.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace VzDbgLog
{

class Log;

// The open logs of the process under the handles that callers hold. A handle is a number that never comes
// back, so a stale or invented one finds nothing. Any thread.
class OpenLogs
{
public:
    OpenLogs() = default;

    OpenLogs(const OpenLogs&) = delete;
    OpenLogs& operator=(const OpenLogs&) = delete;

    void* Add(std::shared_ptr<Log> log);

    // Null for a handle that is not open. A log that was found stays alive until its user lets go of it.
    [[nodiscard]] std::shared_ptr<Log> Find(void* handle) const;
    std::shared_ptr<Log> Remove(void* handle);

    // As Log::FlushAtExit, for all.
    void FlushAtExit();

private:
    struct Entry
    {
        std::uintptr_t id;
        std::shared_ptr<Log> log;
    };

    mutable SlimLock lock;

    // Guarded by lock.
    std::vector<Entry> entries;
    std::uintptr_t lastId = 0;
};

} // namespace VzDbgLog

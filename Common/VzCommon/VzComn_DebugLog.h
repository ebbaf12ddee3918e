#pragma once

#include "VzComn_Storage.h"
#include "VzComn_Synchronize.h"
#include "VzComn_VzDbg.h"

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <string>

namespace VzCommon
{

// One log: reads its configuration, loads the log writer, decides which lines are written and composes them.
// Never throws and never reports a failure of its own beyond the results. Any thread, but for the destructor.
//
// Locks: callLock is taken before stateLock. The code under callLock includes the log writer's, stateLock is
// held for a moment only; a line is composed under neither.
class DebugLog
{
public:
    DebugLog() = default;

    // Frees the log writer without telling it; call Uninitialize before.
    virtual ~DebugLog() = default;

    DebugLog(const DebugLog&) = delete;
    DebugLog& operator=(const DebugLog&) = delete;

    // Reads the configuration of the given store and starts VzDbgLog.dll of the given folder. An empty name
    // keeps the earlier one. A log that stands already is only configured anew. False if the log cannot
    // stand.
    bool Initialize(const std::wstring& name, const Storage::Key& key,
                    const std::wstring& libraryFolder) noexcept;

    // Deliberate: ends the process-wide log, whichever object it is called on. False if that one does not
    // stand.
    static bool Uninitialize() noexcept;

    // Has the log writer write what it gathers, and close. The library stays loaded, and further lines are
    // lost. False if the log does not stand.
    bool Finish() noexcept;

    // For all logs: a call of the log writer is given up if its turn does not come soon, and if it comes from
    // within another one.
    static void EndWaits() noexcept;

    // Whether the configuration lets lines of that level pass. The forced level always does.
    [[nodiscard]] bool IsEnabledFor(std::uint32_t level) noexcept;

    // Writes one line, with the file's folder cut off. The format is for the system's C library, where %s is
    // wide; one that it refuses gives an empty message. True as well for a line that the level keeps back;
    // false if the log does not stand or the line is lost.
    bool Trace(const char* file, std::uint32_t line, std::uint32_t level, const wchar_t* format,
               ...) noexcept;
    bool TraceV(const char* file, std::uint32_t line, std::uint32_t level, const wchar_t* format,
                va_list arguments) noexcept;

private:
    class CallTurn;

    bool Start(const std::wstring& name, const Storage::Key& key, const std::wstring& libraryFolder);
    bool LoadLibraryFrom(const std::wstring& folder);
    bool OpenLog(const VzDbgConfig& config);
    bool CloseLog() noexcept;
    bool Stop();
    bool IsInitialized();
    std::wstring ModuleName();
    bool Write(const SYSTEMTIME& time, const std::wstring& text);

    // Guarded by stateLock.
    bool initialized = false;
    bool enabled = false;
    std::uint32_t levelMask = 0;
    Synchronize::CriticalSection stateLock;
    std::wstring moduleName; // Guarded by stateLock.

    // Guarded by callLock.
    Library::VzDbg library;
    void* handle = nullptr; // of the log writer
    Synchronize::CriticalSection callLock;
    std::atomic<std::uint32_t> caller{0}; // the thread that holds callLock, 0 for none
    std::atomic<bool> turnGivenUp{false};
};

} // namespace VzCommon

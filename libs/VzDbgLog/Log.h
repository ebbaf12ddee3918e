#pragma once

#include "LibraryHold.h"
#include "PoolTimer.h"
#include "RollingFile.h"
#include "Settings.h"
#include "SlimLock.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace VzDbgLog
{

// One open log: turns lines into UTF-8, gathers them where it may, and puts them into its files. All calls
// but EndTimedWork are made under the lock that it is given, which has to outlive it.
class Log
{
public:
    Log(Settings given, SlimLock& usedLock);
    ~Log();

    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    // Takes a file and deletes old ones. 0, or the Windows error.
    DWORD Open();

    // 0 once the line is accepted. A line that is refused is not in the file, neither whole nor in part.
    DWORD Write(const SYSTEMTIME* time, const wchar_t* line);

    // Puts what was gathered into the file. If that fails, it stays gathered.
    DWORD Flush();

    // Flushes and lets go of the file. Nothing but EndTimedWork may follow.
    DWORD Close();

    // Waits for what is under way on the thread pool. Called without the lock, after Close.
    void EndTimedWork();

private:
    static void CALLBACK OnTimer(PTP_CALLBACK_INSTANCE instance, void* context, PTP_TIMER timer);

    DWORD MakeRoom(std::size_t needed, const SYSTEMTIME* time);
    void Gather(std::wstring_view text);
    [[nodiscard]] bool MayWait(std::wstring_view text) const;
    [[nodiscard]] bool StartTimer(DWORD milliseconds);
    void DropBeyond(std::size_t length);
    void DoTimedWork();
    void DeleteOldFiles();

    const LibraryHold library;
    const Settings settings;
    SlimLock& lock;
    PoolTimer timer;

    // Guarded by lock.
    RollingFile files;
    std::vector<char> buffer; // GatherSize bytes, more only while a longer line passes
    std::size_t gathered = 0; // bytes at the buffer's begin that are not in the file yet
    ULONGLONG writtenTick = 0;
    bool timerRuns = false;
    bool hasOldFiles = false; // files were closed since old ones were last deleted
};

} // namespace VzDbgLog

#pragma once

#include "FileNames.h"
#include "LogFile.h"
#include "LogFolder.h"
#include "Settings.h"

#include <cstddef>
#include <cstdint>

namespace VzDbgLog
{

// The files of one log, one after the other: the current one, which this process owns, and those that were
// closed for their size or by the clock. Belongs to whoever holds the log's lock, but for DeleteOld.
class RollingFile
{
public:
    explicit RollingFile(const Settings& settings);

    // Makes the folder and takes a file in it. 0, or the Windows error.
    DWORD Open(const std::wstring& configuredFolder);

    // Whether a line of that time (null: now) still belongs into the current file, which would then hold so
    // many bytes more. If so, the line's day and hour count as the file's.
    bool Admit(std::uint64_t moreBytes, const SYSTEMTIME* time);

    // Closes the current file under a name with the time, and begins the next.
    DWORD Roll(const SYSTEMTIME* time);

    // All of the bytes or none of them. A file that was lost is opened anew, at most once a second.
    DWORD Append(const char* data, std::size_t length);

    // Lets go of the current file, and removes it if nothing was ever written to it.
    void Close();

    // Any thread.
    void DeleteOld() const;

private:
    [[nodiscard]] std::uint64_t PeriodOf(const SYSTEMTIME& time) const;
    [[nodiscard]] std::uint64_t PeriodFound() const;
    [[nodiscard]] bool IsSpent(const SYSTEMTIME& now) const;
    [[nodiscard]] std::wstring PathOf(unsigned wantedSlot) const;
    DWORD OpenFrom(unsigned firstSlot, const SYSTEMTIME& now);
    [[nodiscard]] bool CannotBeMade(unsigned wantedSlot, DWORD error) const;
    DWORD OpenUnspent(unsigned wantedSlot, const SYSTEMTIME& now);
    bool SetAside(unsigned wantedSlot, const SYSTEMTIME& closed) const;
    DWORD Reopen();

    const Unit unit;
    const FileNames names;
    LogFolder folder;
    LogFile file;
    unsigned slot = 1;
    std::uint64_t period = 0; // of the latest line in the file, 0 while there is none
    ULONGLONG reopenTick = 0;
    DWORD lostError = ERROR_SUCCESS;
};

} // namespace VzDbgLog

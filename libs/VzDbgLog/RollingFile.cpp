#include "RollingFile.h"

#include "Limits.h"
#include "LocalTime.h"
#include "Retention.h"

#include <algorithm>

namespace VzDbgLog
{

RollingFile::RollingFile(const Settings& settings) : unit(settings.unit), names(settings) {}

DWORD RollingFile::Open(const std::wstring& configuredFolder)
{
    const DWORD error = folder.Open(configuredFolder);
    return error != ERROR_SUCCESS ? error : OpenFrom(1, LocalTimeNow());
}

bool RollingFile::Admit(std::uint64_t moreBytes, const SYSTEMTIME* time)
{
    if (file.Size() + moreBytes > MaxFileSize)
    {
        return false;
    }
    if (unit == Unit::SizeOnly)
    {
        return true;
    }
    // A line of an earlier period comes from a thread that was held up, or from a clock that was set back.
    const std::uint64_t wanted = PeriodOf(ValidOrNow(time));
    if (period != 0 && wanted > period)
    {
        return false;
    }
    period = std::max(period, wanted);
    return true;
}

DWORD RollingFile::Roll(const SYSTEMTIME* time)
{
    const SYSTEMTIME now = ValidOrNow(time);
    if (file.Size() != 0)
    {
        file.Close();
        // Somebody who reads without sharing for renaming must not stop the log: it goes on beside the file.
        const unsigned next = SetAside(slot, now) ? 1 : slot + 1;
        const DWORD error = OpenFrom(next, now);
        if (error != ERROR_SUCCESS)
        {
            return error;
        }
    }
    period = PeriodOf(now);
    return ERROR_SUCCESS;
}

DWORD RollingFile::Append(const char* data, std::size_t length)
{
    if (!file.IsOpen())
    {
        const DWORD error = Reopen();
        if (error != ERROR_SUCCESS)
        {
            return error;
        }
    }
    return file.Append(data, length);
}

void RollingFile::Close()
{
    const bool unused = file.IsOpen() && file.Size() == 0;
    file.Close();
    if (unused)
    {
        DeleteFileW(PathOf(slot).c_str());
    }
}

void RollingFile::DeleteOld() const
{
    DeleteOldFiles(folder, names);
}

// A number that grows with the day or the hour.
std::uint64_t RollingFile::PeriodOf(const SYSTEMTIME& time) const
{
    const std::uint64_t day = (time.wYear * 16ULL + time.wMonth) * 32ULL + time.wDay;
    switch (unit)
    {
    case Unit::Day: return day * 32ULL;
    case Unit::Hour: return day * 32ULL + time.wHour;
    default: return 0;
    }
}

std::uint64_t RollingFile::PeriodFound() const
{
    return file.Size() == 0 ? 0 : PeriodOf(LocalTime(file.FoundWritten()));
}

// Whether the file, as it was found, has to give way to a new one.
bool RollingFile::IsSpent(const SYSTEMTIME& now) const
{
    const std::uint64_t found = PeriodFound();
    return file.Size() >= MaxFileSize || (found != 0 && found < PeriodOf(now));
}

std::wstring RollingFile::PathOf(unsigned wantedSlot) const
{
    return folder.PathOf(names.Current(wantedSlot));
}

// Takes the first file that nobody holds. A file that is there and cannot be had belongs to another process
// or account, or is a link; one that cannot even be made says that no other could.
DWORD RollingFile::OpenFrom(unsigned firstSlot, const SYSTEMTIME& now)
{
    DWORD error = ERROR_SHARING_VIOLATION;
    for (unsigned next = firstSlot; next <= MaxSlot; ++next)
    {
        error = OpenUnspent(next, now);
        if (CannotBeMade(next, error))
        {
            error = OpenUnspent(next, now); // its owner may just have renamed or deleted it
        }
        if (error == ERROR_SUCCESS)
        {
            slot = next;
            period = PeriodFound();
            return ERROR_SUCCESS;
        }
        if (CannotBeMade(next, error))
        {
            return error;
        }
    }
    return error;
}

bool RollingFile::CannotBeMade(unsigned wantedSlot, DWORD error) const
{
    return error != ERROR_SUCCESS && error != ERROR_SHARING_VIOLATION &&
           GetFileAttributesW(PathOf(wantedSlot).c_str()) == INVALID_FILE_ATTRIBUTES &&
           GetLastError() == ERROR_FILE_NOT_FOUND;
}

DWORD RollingFile::OpenUnspent(unsigned wantedSlot, const SYSTEMTIME& now)
{
    const std::wstring path = PathOf(wantedSlot);
    const DWORD error = file.Open(path);
    if (error != ERROR_SUCCESS || !IsSpent(now))
    {
        return error;
    }
    file.Close();
    return SetAside(wantedSlot, now) ? file.Open(path) : ERROR_SHARING_VIOLATION;
}

// Renames a file that is not open to a name that no other has.
bool RollingFile::SetAside(unsigned wantedSlot, const SYSTEMTIME& closed) const
{
    constexpr unsigned attempts = 100;
    const std::wstring path = PathOf(wantedSlot);
    for (unsigned attempt = 0; attempt < attempts; ++attempt)
    {
        if (MoveFileExW(path.c_str(), folder.PathOf(names.Rolled(wantedSlot, closed, attempt)).c_str(), 0))
        {
            return true;
        }
        const DWORD error = GetLastError();
        if (error != ERROR_ALREADY_EXISTS && error != ERROR_FILE_EXISTS)
        {
            return false;
        }
    }
    return false;
}

// The pause keeps a dead network folder from holding up every line for its time-out.
DWORD RollingFile::Reopen()
{
    if (GetTickCount64() < reopenTick)
    {
        return lostError;
    }
    lostError = OpenFrom(1, LocalTimeNow());
    if (lostError != ERROR_SUCCESS)
    {
        reopenTick = GetTickCount64() + ReopenPause;
    }
    return lostError;
}

} // namespace VzDbgLog

#include "Log.h"

#include "Limits.h"
#include "Utf8.h"

#include <cwchar>
#include <iterator>
#include <mutex>
#include <utility>

namespace VzDbgLog
{

namespace
{

constexpr std::string_view LineEnd = "\r\n";

// The composed line's third field is the tag. Date and time, the first, have a fixed length; process and
// thread, the second, have not.
bool IsError(std::wstring_view line)
{
    constexpr std::size_t secondField = std::size(L"dd/mm/yyyy hh:mm:ss.mmm");
    const std::size_t end = line.find(L' ', secondField);
    return end != std::wstring_view::npos && line.substr(end).starts_with(L" !!! ");
}

} // namespace

Log::Log(Settings given, SlimLock& usedLock)
    : settings(std::move(given)), lock(usedLock), timer(&Log::OnTimer, this), files(settings),
      buffer(GatherSize)
{
}

// The timer goes before what its callback works on.
Log::~Log()
{
    timer.Close();
}

DWORD Log::Open()
{
    const DWORD error = files.Open(settings.folder);
    if (error == ERROR_SUCCESS)
    {
        files.DeleteOld();
    }
    return error;
}

DWORD Log::Write(const SYSTEMTIME* time, const wchar_t* line)
{
    // The begin of a line that is too long tells more than no line would.
    const std::wstring_view text(line, wcsnlen(line, MaxLineUnits));
    if (settings.debugger)
    {
        OutputDebugStringW(line);
    }
    const DWORD error = MakeRoom(text.size() * Utf8BytesPerUnit + LineEnd.size(), time);
    if (error != ERROR_SUCCESS)
    {
        return error;
    }
    const std::size_t before = gathered;
    Gather(text);
    if (MayWait(text) && StartTimer(GatherTime))
    {
        return ERROR_SUCCESS;
    }
    const DWORD failure = Flush();
    if (failure != ERROR_SUCCESS)
    {
        DropBeyond(before);
    }
    return failure;
}

DWORD Log::Flush()
{
    if (gathered == 0)
    {
        return ERROR_SUCCESS;
    }
    const DWORD error = files.Append(buffer.data(), gathered);
    if (error == ERROR_SUCCESS)
    {
        writtenTick = GetTickCount64();
        DropBeyond(0);
    }
    return error;
}

DWORD Log::Close()
{
    const DWORD error = Flush();
    gathered = 0;
    files.Close();
    return error;
}

void Log::EndTimedWork()
{
    timer.Close();
    DeleteOldFiles();
}

void CALLBACK Log::OnTimer(PTP_CALLBACK_INSTANCE /*instance*/, void* context, PTP_TIMER /*timer*/)
{
    try
    {
        static_cast<Log*>(context)->DoTimedWork();
    }
    catch (...) // out of memory: the next line tries again
    {
        return;
    }
}

// Makes the buffer and the file ready for a line of so many bytes at most.
DWORD Log::MakeRoom(std::size_t needed, const SYSTEMTIME* time)
{
    const bool rolls = !files.Admit(gathered + needed, time);
    if (rolls || gathered + needed > buffer.size())
    {
        const DWORD error = Flush();
        if (error != ERROR_SUCCESS)
        {
            return error;
        }
    }
    if (rolls)
    {
        const DWORD error = files.Roll(time);
        if (error != ERROR_SUCCESS)
        {
            return error;
        }
        // Left to a thread of the pool: the caller waits neither for the listing nor for a deletion. Without
        // one the end of the log sees to it.
        hasOldFiles = true;
        static_cast<void>(timer.Start(0));
    }
    if (needed > buffer.size())
    {
        buffer.resize(needed);
    }
    return ERROR_SUCCESS;
}

void Log::Gather(std::wstring_view text)
{
    gathered += EncodeUtf8(text, buffer.data() + gathered);
    if (!text.ends_with(L'\n'))
    {
        gathered += LineEnd.copy(buffer.data() + gathered, LineEnd.size());
    }
}

// The first line after a pause goes into the file at once: it may be the last one that a crash lets through.
bool Log::MayWait(std::wstring_view text) const
{
    return !settings.robust && gathered <= GatherSize && !IsError(text) &&
           GetTickCount64() - writtenTick < GatherTime;
}

bool Log::StartTimer(DWORD milliseconds)
{
    if (!timerRuns)
    {
        timerRuns = timer.Start(milliseconds);
    }
    return timerRuns;
}

void Log::DropBeyond(std::size_t length)
{
    gathered = length;
    if (buffer.size() > GatherSize)
    {
        buffer.resize(GatherSize);
        buffer.shrink_to_fit();
    }
}

void Log::DoTimedWork()
{
    {
        const std::lock_guard<SlimLock> guard(lock);
        timerRuns = false;
        Flush();
    }
    DeleteOldFiles();
}

// Outside the lock: no line waits for it.
void Log::DeleteOldFiles()
{
    bool wanted = false;
    {
        const std::lock_guard<SlimLock> guard(lock);
        wanted = std::exchange(hasOldFiles, false);
    }
    if (wanted)
    {
        files.DeleteOld();
    }
}

} // namespace VzDbgLog

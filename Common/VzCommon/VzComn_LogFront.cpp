#include "VzComn_LogFront.h"

#include "VzComn_DebugLog.h"
#include "VzComn_FileBase.h"
#include "VzComn_LogEmit.h"

#include <windows.h>

#include <atomic>
#include <cstdarg>
#include <exception>
#include <memory>
#include <string_view>

namespace VzCommon
{

DebugLog* s_pDebugLog = nullptr;

namespace
{

// Room for the executable's path. The log comes before everything that knows of the product's folders.
constexpr DWORD modulePathRoom = 1000;

// Gives the caller's last error back at the end of a scope.
class LastErrorKeeper
{
public:
    LastErrorKeeper() : lastError(GetLastError()) {}

    ~LastErrorKeeper() { SetLastError(lastError); }

    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

private:
    DWORD lastError;
};

// Calls of the front that may be using the process-wide log.
std::atomic<int> s_calls{0};

// The process-wide log for the length of one call; null without one. A thread that still logs while the
// process ends keeps the log from being deleted under it.
class LogUse
{
public:
    LogUse() noexcept
    {
        ++s_calls;
        log = std::atomic_ref<DebugLog*>(s_pDebugLog).load();
    }

    ~LogUse() { --s_calls; }

    LogUse(const LogUse&) = delete;
    LogUse& operator=(const LogUse&) = delete;

    explicit operator bool() const { return log != nullptr; }

    DebugLog* operator->() const { return log; }

    DebugLog& operator*() const { return *log; }

private:
    DebugLog* log;
};

// False if a call is stuck: a thread that was suspended in the log must not keep the process from ending.
bool WaitForCalls()
{
    constexpr int rounds = 2000; // of a millisecond
    for (int round = 0; round < rounds; ++round)
    {
        if (s_calls == 0)
        {
            return true;
        }
        Sleep(1);
    }
    return false;
}

// A format that gives the text itself.
std::wstring AsFormat(std::wstring_view text)
{
    std::wstring format;
    format.reserve(text.size());
    for (const wchar_t character : text)
    {
        format.append(character == L'%' ? 2 : 1, character);
    }
    return format;
}

} // namespace

std::wstring LogModuleFolder()
{
    wchar_t path[modulePathRoom];
    const DWORD length = GetModuleFileNameW(nullptr, path, modulePathRoom);
    if (length == 0 || length == modulePathRoom)
    {
        return {}; // a path that was cut names another folder
    }
    return Storage::FileBase::StripFileName(std::wstring(path, length));
}

void InitDebugLog(const std::wstring& name) noexcept
{
    const LastErrorKeeper keeper;
    try
    {
        const std::wstring folder = LogModuleFolder();
        s_pDebugLog = new DebugLog;
        // Deliberate: the result is not looked at.
        s_pDebugLog->Initialize(name, Storage::Key::ForIniFile(folder.c_str(), LogConfigurationFile), folder);
    }
    catch (const std::exception&) // no memory: no log
    {
        return;
    }
}

void ShutdownDebugLog() noexcept
{
    const LastErrorKeeper keeper;
    DebugLog::Uninitialize();
    std::unique_ptr<DebugLog> log(std::atomic_ref<DebugLog*>(s_pDebugLog).exchange(nullptr));
    if (!WaitForCalls())
    {
        static_cast<void>(log.release()); // left to the end of the process
    }
}

void FinishDebugLog() noexcept
{
    const LogUse log;
    if (log)
    {
        log->Finish();
    }
}

void EndLogWaits() noexcept
{
    DebugLog::EndWaits();
}

bool IsLogEnabledFor(std::uint32_t level) noexcept
{
    const LogUse log;
    return log && log->IsEnabledFor(level);
}

void EmitTo(DebugLog& log, const LogLocation& location, const std::wostringstream& stream) noexcept
{
    try
    {
        log.Trace(location.file, location.line, location.level, AsFormat(stream.view()).c_str());
    }
    catch (const std::exception&) // no memory: the line is lost
    {
        return;
    }
}

void EmitLogLine(const LogLocation& location, const std::wostringstream& stream) noexcept
{
    const LogUse log;
    if (log)
    {
        EmitTo(*log, location, stream);
    }
}

LogStatement::LogStatement(const LogLocation& where, const wchar_t* begin, Emit emitter)
    : lastError(GetLastError()), location(where), emit(emitter)
{
    stream << begin;
}

LogStatement::~LogStatement()
{
    emit(location, stream);
    SetLastError(lastError);
}

FunctionTrace::FunctionTrace(const wchar_t* tag, const char* sourceFile, const wchar_t* name,
                             std::uint32_t sourceLine) noexcept
    : line(sourceLine)
{
    const LastErrorKeeper keeper;
    try
    {
        classTag = tag;
        file = sourceFile;
        function = name;
    }
    catch (const std::exception&) // no memory: the lines lack what could not be kept
    {
        function.clear();
    }
    Write(L"], ==> ");
}

FunctionTrace::~FunctionTrace()
{
    Write(L"], <== ");
}

void FunctionTrace::Write(const wchar_t* arrow) const noexcept
{
    const LogUse log;
    if (!log)
    {
        return;
    }
    const LastErrorKeeper keeper;
    try
    {
        const std::wstring text = L"[INFO],[" + classTag + arrow + function;
        // Deliberate: the text is the format.
        log->Trace(file.c_str(), line, LogLevel::Scope, text.c_str());
    }
    catch (const std::exception&) // no memory: the line is lost
    {
        return;
    }
}

void LogDetail::Trace(const LogLocation* location, const wchar_t* format, ...) noexcept
{
    const LogUse log;
    if (!log)
    {
        return;
    }
    const LastErrorKeeper keeper;
    va_list arguments{};
    va_start(arguments, format);
    log->TraceV(location->file, location->line, location->level, format, arguments);
    va_end(arguments);
}

} // namespace VzCommon

#include "VzComn_DebugLog.h"

#include "VzComn_LogConfiguration.h"
#include "VzComn_LogFront.h"
#include "VzComn_LogLine.h"
#include "VzComn_String.h"

#include <windows.h>

#include <cwchar>
#include <memory>
#include <utility>

namespace VzCommon
{

using Synchronize::SingleLock;

namespace
{

// What the operation gives; false if it throws, whatever that is.
template <typename Operation>
bool Guarded(Operation operation) noexcept
{
    try
    {
        return operation();
    }
    catch (Exception::Base* caught)
    {
        const std::unique_ptr<Exception::Base> exception(caught);
    }
    catch (...)
    {
        return false;
    }
    return false;
}

// Set when the process is dying.
constinit std::atomic<bool> s_waitsEnded{false};

// Empty if the format is refused: the line is written all the same.
std::wstring FormatMessageText(const wchar_t* format, va_list arguments)
{
    if (format != nullptr && std::wcschr(format, L'%') == nullptr)
    {
        return format; // most lines: their text was composed before
    }
    std::wstring text;
    try
    {
        while (!String::FormatV(text, format, arguments))
        {
        }
    }
    catch (String::Exception* caught)
    {
        const std::unique_ptr<String::Exception> exception(caught);
        text.clear();
    }
    return text;
}

} // namespace

// Holds callLock for one call of the log writer, if the turn came.
class DebugLog::CallTurn
{
public:
    explicit CallTurn(DebugLog& usedLog) : log(usedLog), held(Take()), before(held ? Caller() : 0)
    {
        if (held)
        {
            SetCaller(GetCurrentThreadId());
        }
    }

    ~CallTurn()
    {
        if (held)
        {
            SetCaller(before);
            log.callLock.Unlock();
        }
    }

    CallTurn(const CallTurn&) = delete;
    CallTurn& operator=(const CallTurn&) = delete;

    explicit operator bool() const { return held; }

private:
    bool Take()
    {
        if (s_waitsEnded)
        {
            return Caller() != GetCurrentThreadId() && WaitForTurn();
        }
        log.callLock.Lock();
        return true;
    }

    // When a turn was given up, the next ones of the log are not waited for at all.
    bool WaitForTurn()
    {
        constexpr int rounds = 200; // of ten milliseconds
        for (int round = 0; round < rounds && !log.turnGivenUp; ++round)
        {
            if (log.callLock.TryLock())
            {
                return true;
            }
            Sleep(10);
        }
        log.turnGivenUp = true;
        return log.callLock.TryLock();
    }

    // No order is needed: a thread asks for its own number only.
    [[nodiscard]] std::uint32_t Caller() const { return log.caller.load(std::memory_order_relaxed); }

    void SetCaller(std::uint32_t thread) { log.caller.store(thread, std::memory_order_relaxed); }

    DebugLog& log;
    bool held;
    std::uint32_t before; // the thread itself, within another call of its own
};

void DebugLog::EndWaits() noexcept
{
    s_waitsEnded = true;
}

bool DebugLog::Initialize(const std::wstring& name, const Storage::Key& key,
                          const std::wstring& libraryFolder) noexcept
{
    const CallTurn turn(*this);
    return turn && Guarded([&] { return Start(name, key, libraryFolder); });
}

bool DebugLog::Start(const std::wstring& name, const Storage::Key& key, const std::wstring& libraryFolder)
{
    if (!name.empty())
    {
        const SingleLock state(&stateLock);
        moduleName = name;
    }
    LogConfiguration configuration;
    if (!ReadLogConfiguration(key, ModuleName(), configuration))
    {
        return false;
    }
    {
        const SingleLock state(&stateLock);
        enabled = configuration.enabled;
        levelMask = configuration.levelMask;
    }
    if (!IsInitialized() && !(LoadLibraryFrom(libraryFolder) && OpenLog(configuration.record)))
    {
        return false;
    }
    const SingleLock state(&stateLock);
    initialized = true;
    return true;
}

bool DebugLog::LoadLibraryFrom(const std::wstring& folder)
{
    // Deliberate: refused without a folder, as the system would search places that others may write to.
    if (folder.empty() || library.IsBound())
    {
        return false;
    }
    const std::wstring file = String::EnsureBackslash(folder) + L"VzDbgLog.dll";
    return library.Load(file.c_str(), nullptr, nullptr) && library.Bind(true, nullptr);
}

bool DebugLog::OpenLog(const VzDbgConfig& config)
{
    void* opened = nullptr;
    if (library.Initialize(&opened, config) != ERROR_SUCCESS || opened == nullptr)
    {
        library.Unload(nullptr);
        library.Bind(false, nullptr);
        return false;
    }
    handle = opened;
    return true;
}

bool DebugLog::Uninitialize() noexcept
{
    DebugLog* const log = std::atomic_ref<DebugLog*>(s_pDebugLog).load();
    if (log == nullptr)
    {
        return false;
    }
    const CallTurn turn(*log);
    return turn && Guarded([log] { return log->Stop(); });
}

bool DebugLog::Finish() noexcept
{
    const CallTurn turn(*this);
    return turn && CloseLog();
}

bool DebugLog::CloseLog() noexcept
{
    if (handle == nullptr)
    {
        return false;
    }
    library.Uninitialize(std::exchange(handle, nullptr));
    return true;
}

bool DebugLog::Stop()
{
    if (!IsInitialized())
    {
        return false;
    }
    if (library.IsBound())
    {
        CloseLog();
        library.Unload(nullptr);
        library.Bind(false, nullptr);
    }
    const SingleLock state(&stateLock);
    initialized = false;
    enabled = false;
    levelMask = 0;
    return true;
}

bool DebugLog::IsInitialized()
{
    const SingleLock state(&stateLock);
    return initialized;
}

std::wstring DebugLog::ModuleName()
{
    const SingleLock state(&stateLock);
    return moduleName;
}

bool DebugLog::IsEnabledFor(std::uint32_t level) noexcept
{
    const SingleLock state(&stateLock);
    return level == LogLevel::Forced || (enabled && (levelMask & level) != 0);
}

bool DebugLog::Trace(const char* file, std::uint32_t line, std::uint32_t level, const wchar_t* format,
                     ...) noexcept
{
    va_list arguments{};
    va_start(arguments, format);
    const bool written = TraceV(file, line, level, format, arguments);
    va_end(arguments);
    return written;
}

bool DebugLog::TraceV(const char* file, std::uint32_t line, std::uint32_t level, const wchar_t* format,
                      va_list arguments) noexcept
{
    if (!IsInitialized())
    {
        return false;
    }
    if (!IsEnabledFor(level))
    {
        return true;
    }
    return Guarded(
        [&]
        {
            const std::wstring message = FormatMessageText(format, arguments);
            SYSTEMTIME time;
            GetLocalTime(&time);
            return Write(time, ComposeLogLine({time, level, ModuleName(), message, file, line}));
        });
}

bool DebugLog::Write(const SYSTEMTIME& time, const std::wstring& text)
{
    const CallTurn turn(*this);
    return turn && handle != nullptr && library.CanTrace() &&
           library.Trace(handle, time, text.c_str()) == ERROR_SUCCESS;
}

} // namespace VzCommon

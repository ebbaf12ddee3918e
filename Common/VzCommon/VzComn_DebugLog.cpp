#include "VzComn_DebugLog.h"

#include "VzComn_LogConfiguration.h"
#include "VzComn_LogFront.h"
#include "VzComn_LogLine.h"
#include "VzComn_String.h"

#include <cwchar>
#include <memory>

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

bool DebugLog::Initialize(const std::wstring& name, const Storage::Key& key,
                          const std::wstring& libraryFolder) noexcept
{
    const SingleLock call(&callLock);
    return Guarded([&] { return Start(name, key, libraryFolder); });
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
    DebugLog* const log = s_pDebugLog;
    if (log == nullptr)
    {
        return false;
    }
    const SingleLock call(&log->callLock);
    return Guarded([log] { return log->Stop(); });
}

bool DebugLog::Stop()
{
    if (!IsInitialized())
    {
        return false;
    }
    if (library.IsBound())
    {
        library.Uninitialize(handle);
        handle = nullptr;
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
    const SingleLock call(&callLock);
    return library.CanTrace() && library.Trace(handle, time, text.c_str()) == ERROR_SUCCESS;
}

} // namespace VzCommon

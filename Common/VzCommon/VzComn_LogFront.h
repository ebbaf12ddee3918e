#pragma once

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <type_traits>

// How all code writes to the log. Any thread. A statement never fails its caller and keeps the caller's last
// error; its arguments are evaluated whatever the log's level.
//
//     LOG_ERROR << L"failed to open file <" << path << L">, error = " << error;
//     LOG_PRINTF(VzCommon::LogLevel::Error, L"VzCommon::Service::Base::Open() failed: 0x%08X", error);
//     FUNCTION_TRACE(L"CStartHelper::PreInit");
//     LOG_DEBUG << (VzCommon::IsLogEnabledFor(VzCommon::LogLevel::Debug) ? json.ToStyledString() : L"");
//
// A file whose statements carry a class tag defines LOG_CLASS_TAG before it includes this header.
#ifndef LOG_CLASS_TAG
#define LOG_CLASS_TAG L""
#endif

namespace VzCommon
{

class DebugLog;

// Independent bits of one mask, no thresholds.
namespace LogLevel
{
inline constexpr std::uint32_t Info = 0x00000001;
inline constexpr std::uint32_t Warn = 0x00000010;
inline constexpr std::uint32_t Error = 0x00000100;
inline constexpr std::uint32_t Fatal = Error; // has no bit of its own
inline constexpr std::uint32_t Debug = 0x00001000;
inline constexpr std::uint32_t Forced = 0x10000000; // passes whatever the configuration says
inline constexpr std::uint32_t Scope = Warn; // Deliberate: a function's trace says [INFO] all the same.
} // namespace LogLevel

// Where a log statement stands, and its level.
struct LogLocation
{
    const char* file; // the compiler's path without the extension; lives as long as the process
    std::uint32_t line;
    std::uint32_t level;
};

// The process-wide log. Null before InitDebugLog and after ShutdownDebugLog, and the front then does nothing.
extern DebugLog* s_pDebugLog;

// Starts the process-wide log with the vzdbg.ini and the VzDbgLog.dll of the executable's folder. The name
// stands on each line. A log that cannot start stays in place and loses its lines. Called on the main thread,
// before any other thread logs.
void InitDebugLog(const std::wstring& name) noexcept;

// Ends the process-wide log. Called on the main thread at process end; other threads may still log, and lose
// their lines from then on.
void ShutdownDebugLog() noexcept;

// Has the lines written that the process-wide log gathers; later ones are lost. For a process that ends at
// once and does not free anything more. Any thread, beside ShutdownDebugLog too.
void FinishDebugLog() noexcept;

// From now on a line is lost if its turn does not come soon, and if it is written from within the log writer:
// the process is dying, and whoever holds a log may be dead already. For all logs. Any thread.
void EndLogWaits() noexcept;

// For arguments that are costly to make. False without a log.
[[nodiscard]] bool IsLogEnabledFor(std::uint32_t level) noexcept;

// Hands the stream's text to the process-wide log as it stands, "%" included.
void EmitLogLine(const LogLocation& location, const std::wostringstream& stream) noexcept;

// Writes a line when a scope is entered and one when it is left, both with the place of the constructor and
// both with the text as a format.
class FunctionTrace
{
public:
    FunctionTrace(const wchar_t* tag, const char* sourceFile, const wchar_t* name,
                  std::uint32_t sourceLine) noexcept;
    ~FunctionTrace();

    FunctionTrace(const FunctionTrace&) = delete;
    FunctionTrace& operator=(const FunctionTrace&) = delete;

private:
    void Write(const wchar_t* arrow) const noexcept;

    std::wstring classTag;
    std::string file;
    std::wstring function;
    std::uint32_t line;
};

// One stream statement: made by the macros below, emitted at the statement's end.
class LogStatement
{
public:
    using Emit = void (*)(const LogLocation& location, const std::wostringstream& stream) noexcept;

    LogStatement(const LogLocation& where, const wchar_t* begin, Emit emitter);
    ~LogStatement();

    LogStatement(const LogStatement&) = delete;
    LogStatement& operator=(const LogStatement&) = delete;

    [[nodiscard]] std::wostream& Stream() { return stream; }

private:
    std::uint32_t lastError; // of the caller
    LogLocation location;
    Emit emit;
    std::wostringstream stream;
};

namespace LogDetail
{

// A source path whose extension the compiler has cut off.
template <std::size_t Size>
struct SourcePath
{
    // Deliberate: implicit, so that a literal can be a template argument.
    consteval SourcePath(const char (&path)[Size]) // NOLINT(google-explicit-constructor)
    {
        std::size_t end = Size - 1;
        for (std::size_t i = Size - 1; i > 0 && path[i] != '/' && path[i] != '\\'; --i)
        {
            if (path[i] == '.')
            {
                end = i;
                break;
            }
        }
        for (std::size_t i = 0; i < end; ++i)
        {
            text[i] = path[i];
        }
    }

    char text[Size]{};
};

template <SourcePath Path>
inline constexpr const char* sourceName = Path.text;

void Trace(const LogLocation* location, const wchar_t* format, ...) noexcept;

template <typename... Arguments>
void Printf(const LogLocation& location, const wchar_t* format, Arguments... arguments) noexcept
{
    static_assert((std::is_scalar_v<Arguments> && ...), "arguments of a format are numbers and pointers");
    Trace(&location, format, arguments...);
}

} // namespace LogDetail

} // namespace VzCommon

#define VZ_LOG_FILE (::VzCommon::LogDetail::sourceName<__FILE__>)
#define VZ_LOG_JOIN_TOKENS(left, right) left##right
#define VZ_LOG_JOIN(left, right) VZ_LOG_JOIN_TOKENS(left, right)

#define VZ_LOG_STATEMENT(level, prefix, emit)                                                                \
    ::VzCommon::LogStatement({VZ_LOG_FILE, __LINE__, ::VzCommon::LogLevel::level}, LOG_CLASS_TAG prefix,     \
                             emit)                                                                           \
        .Stream()

#define LOG_INFO VZ_LOG_STATEMENT(Info, L": [INFO] ", ::VzCommon::EmitLogLine)
#define LOG_WARN VZ_LOG_STATEMENT(Warn, L": [WARN] ", ::VzCommon::EmitLogLine)
#define LOG_ERROR VZ_LOG_STATEMENT(Error, L": [ERROR] ", ::VzCommon::EmitLogLine)
#define LOG_FATAL VZ_LOG_STATEMENT(Fatal, L": [FATAL] ", ::VzCommon::EmitLogLine)
#define LOG_DEBUG VZ_LOG_STATEMENT(Debug, L": [DEBUG] ", ::VzCommon::EmitLogLine)

// Without class tag and prefix. The format is a literal for the system's C library, where %s is wide.
#define LOG_PRINTF(level, format, ...)                                                                       \
    ::VzCommon::LogDetail::Printf({VZ_LOG_FILE, __LINE__, (level)}, L"" format __VA_OPT__(, ) __VA_ARGS__)

// Traces the enclosing scope under a name given by hand, a wide literal. The name is part of a format: a "%"
// in it acts as one.
#define FUNCTION_TRACE(name)                                                                                 \
    const ::VzCommon::FunctionTrace VZ_LOG_JOIN(functionTrace, __LINE__)(LOG_CLASS_TAG, VZ_LOG_FILE, name,   \
                                                                         __LINE__)

#pragma once

#include "RecordingWriter.h"
#include "TempDir.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace VzCommon
{
class DebugLog;
}

namespace TestSupport
{

// A finished line, taken apart.
struct LogMessage
{
    std::wstring tag;    // "!!!"
    std::wstring text;   // ": [ERROR] RegisterRPC failed...Error Code=5"
    std::wstring source; // "PowerEventHandler"
    unsigned line = 0;   // 153

    bool operator==(const LogMessage&) const = default;
};

void PrintTo(const LogMessage& message, std::ostream* stream);

// Makes the process-wide log write into memory for the length of a scope, whatever the log was before:
//
//     LogCapture log;
//     helper.ExecuteStartMode();
//     EXPECT_THAT(log.Texts(), ElementsAre(L": [WARN] Can not find the start mode 7"));
//
// Levels are bits of the mask: 0x1 INFO, 0x10 WARN and scope traces, 0x100 ERROR, 0x1000 DEBUG. The code
// under test may shut the log down. Throws std::runtime_error if the log does not come up.
class LogCapture
{
public:
    explicit LogCapture(std::uint32_t levelMask = 0x1111);
    ~LogCapture();

    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Whole, with time, tag, source and line break.
    [[nodiscard]] std::vector<std::wstring> Lines() const;
    [[nodiscard]] std::vector<LogMessage> Messages() const;

    // The texts of the messages.
    [[nodiscard]] std::vector<std::wstring> Texts() const;

    // Forgets the lines so far.
    void Clear();

    // The writer itself: what it was told, and what it answers.
    [[nodiscard]] RecordingLog& Writer() const { return *m_writer; }

private:
    TempDir m_folder;
    RecordingWriter m_writer;
    std::size_t m_first;
    VzCommon::DebugLog* m_log;
    VzCommon::DebugLog* m_previous;
};

} // namespace TestSupport

#pragma once

#include "RecordingVzDbgLog.h"

#include <string>
#include <vector>

namespace TestSupport
{

// The folder of a VzDbgLog.dll that keeps its lines in memory.
[[nodiscard]] std::wstring RecordingLogFolder();

// Keeps that library loaded for the length of a scope, whether a log uses it or not, so that its lines can be
// read when the log is gone.
class RecordingWriter
{
public:
    // A copy in another folder is a library of its own.
    explicit RecordingWriter(const std::wstring& folder = RecordingLogFolder());
    ~RecordingWriter();

    RecordingWriter(const RecordingWriter&) = delete;
    RecordingWriter& operator=(const RecordingWriter&) = delete;

    RecordingLog* operator->() const { return m_log; }

    RecordingLog& operator*() const { return *m_log; }

    // The recorded lines from that one on.
    [[nodiscard]] std::vector<std::wstring> Lines(std::size_t first = 0) const;

private:
    HMODULE m_library;
    RecordingLog* m_log;
};

} // namespace TestSupport

#pragma once

#include <string>
#include <vector>

class RecordingLog;

namespace TestSupport
{
class TempDir;
}

// The log that the code under test starts by itself: the recording writer and a vzdbg.ini in the folder of
// the product. The folder must outlive it.
class AgentLog
{
public:
    explicit AgentLog(const TestSupport::TempDir& folder);
    ~AgentLog();

    AgentLog(const AgentLog&) = delete;
    AgentLog& operator=(const AgentLog&) = delete;

    // The texts of the lines so far, from the module's name to the source.
    [[nodiscard]] std::vector<std::wstring> Texts() const;

    [[nodiscard]] bool Holds(const std::wstring& words) const;

private:
    void* m_library;
    RecordingLog* m_writer;
};

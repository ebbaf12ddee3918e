#pragma once

#include <string>
#include <vector>

#include "TempDir.h"

// A product folder with the test agent in it. At its end the agent ends, too.
class AgentFolder
{
public:
    AgentFolder();
    ~AgentFolder();

    AgentFolder(const AgentFolder&) = delete;
    AgentFolder& operator=(const AgentFolder&) = delete;

    [[nodiscard]] const TestSupport::TempDir& Dir() const { return m_dir; }

    [[nodiscard]] std::wstring Agent() const { return m_dir.Path(L"QxSessionAgent.exe"); }

    // What the agent does from now on: a word that it knows.
    void Behave(const std::string& word) const;

    struct Start
    {
        std::string mode;
        unsigned long long milliseconds; // of the system's uptime
    };

    [[nodiscard]] std::vector<Start> Starts() const;

    // False if the agent is not started that often in time.
    [[nodiscard]] bool WaitForStarts(std::size_t count) const;

private:
    TestSupport::TempDir m_dir;
};

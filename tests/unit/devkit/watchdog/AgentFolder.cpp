#include "AgentFolder.h"

#include <windows.h>

#include <sstream>
#include <stdexcept>

#include "TestProgram.h"
#include "WaitUntil.h"

AgentFolder::AgentFolder()
{
    const std::wstring program = TestSupport::TestProgram(L"TestAgent", L"TestAgent.exe");
    if (!CopyFileW(program.c_str(), Agent().c_str(), TRUE))
    {
        throw std::runtime_error("the test agent cannot be copied");
    }
    Behave("run");
}

// The file of a program that runs cannot be written.
AgentFolder::~AgentFolder()
{
    Behave("leave");
    (void)TestSupport::WaitUntil([this] { return DeleteFileW(Agent().c_str()) != FALSE; });
}

void AgentFolder::Behave(const std::string& word) const
{
    (void)m_dir.Write(L"agent.new", word);
    // In one step, for the agent may be reading.
    (void)TestSupport::WaitUntil(
        [this]
        {
            return MoveFileExW(m_dir.Path(L"agent.new").c_str(), m_dir.Path(L"agent.txt").c_str(),
                               MOVEFILE_REPLACE_EXISTING) != FALSE;
        });
}

std::vector<AgentFolder::Start> AgentFolder::Starts() const
{
    std::istringstream lines(m_dir.Read(L"starts.txt"));
    std::vector<Start> starts;
    for (Start start; lines >> start.mode >> start.milliseconds;)
    {
        starts.push_back(start);
    }
    return starts;
}

bool AgentFolder::WaitForStarts(std::size_t count) const
{
    return TestSupport::WaitUntil([&] { return Starts().size() >= count; });
}

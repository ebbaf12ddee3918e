#include "VzComn_DebugLog.h"
#include "VzComn_LogFront.h"

#include "TempDir.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using TestSupport::TempDir;
using namespace VzCommon;

namespace
{

constexpr int threadCount = 8;
constexpr int linesOfAThread = 500;

// From a log statement to the file on the disk, through the real log writer. The parameter is "Robust" of
// the configuration: 0 gathers lines in memory, 1 writes each at once.
class LogPipelineTest : public testing::TestWithParam<int>
{
protected:
    LogPipelineTest()
    {
        std::ostringstream ini;
        ini << "Enable=1\r\nLevel=0x1111\r\nRobust=" << GetParam()
            << "\r\nLogFolder=" << std::filesystem::path(dir.Path(L"log")).string() << "\r\n";
        dir.Write(L"vzdbg.ini", "[InteractiveSession]\r\n" + ini.str() + "[ServiceSession]\r\n" + ini.str());
        s_pDebugLog = &log;
    }

    ~LogPipelineTest() override { s_pDebugLog = nullptr; }

    bool Initialize()
    {
        const auto folder = std::filesystem::path(VZDBGLOG_FOLDER).make_preferred();
        return log.Initialize(L"Agent", Storage::Key::ForIniFile(dir.Path().c_str(), L"\\vzdbg.ini"),
                              folder.wstring());
    }

    // The lines of the one file that there is, without their ends.
    std::vector<std::string> Lines() const
    {
        std::vector<std::string> lines;
        std::vector<std::wstring> names;
        for (const auto& entry : std::filesystem::directory_iterator(dir.Path(L"log")))
        {
            names.push_back(entry.path().filename().wstring());
        }
        EXPECT_EQ(names.size(), 1U);
        std::string text = names.empty() ? "" : dir.Read(L"log\\" + names.front());
        EXPECT_TRUE(text.empty() || text.ends_with("\r\n"));
        for (std::size_t end = 0, begin = 0; (end = text.find("\r\n", begin)) != text.npos; begin = end + 2)
        {
            lines.push_back(text.substr(begin, end - begin));
        }
        return lines;
    }

    TempDir dir;
    DebugLog log;
};

// Lines of many lengths, each filled with the thread's own letter.
std::wstring Filling(int thread, int number)
{
    return std::wstring(static_cast<std::size_t>(number % 200), static_cast<wchar_t>(L'a' + thread));
}

void WriteLines(int thread)
{
    for (int i = 0; i < linesOfAThread; ++i)
    {
        LOG_INFO << thread << L" " << i << L" <" << Filling(thread, i) << L">";
    }
}

void WriteLinesOnThreads()
{
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i)
    {
        threads.emplace_back(&WriteLines, i);
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

TEST_P(LogPipelineTest, LinesOfManyThreadsReachTheFileWholeAndInOrder)
{
    ASSERT_TRUE(Initialize());
    WriteLinesOnThreads();
    ASSERT_TRUE(DebugLog::Uninitialize());

    const std::regex form(R"(\d{2}/\d{2}/\d{4} \d{2}:\d{2}:\d{2}\.\d{3} [0-9a-f]{4,8}:[0-9a-f]{4,8} )"
                          R"(\.w\. <Agent> : \[INFO\] (\d) (\d+) <([a-h]*)> - LogPipelineTests\(\d+\))");
    std::array<int, threadCount> next{};
    for (const std::string& line : Lines())
    {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(line, match, form)) << line;
        const int thread = std::stoi(match[1]);
        ASSERT_LT(thread, threadCount) << line;
        EXPECT_EQ(std::stoi(match[2]), next[thread]) << line;
        const std::wstring filling = Filling(thread, next[thread]);
        EXPECT_EQ(match[3], std::string(filling.begin(), filling.end())) << line;
        ++next[thread];
    }
    for (const int count : next)
    {
        EXPECT_EQ(count, linesOfAThread);
    }
}

INSTANTIATE_TEST_SUITE_P(Robust, LogPipelineTest, testing::Values(0, 1));

} // namespace

#include "LogCapture.h"

#include "VzComn_DebugLog.h"
#include "VzComn_LogFront.h"

#include "TempDir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <string>
#include <thread>
#include <vector>

using TestSupport::LogCapture;
using TestSupport::LogMessage;
using namespace VzCommon;

namespace
{

constexpr int threadCount = 8;
constexpr int linesOfAThread = 400;

template <typename Work>
void RunOnThreads(Work work)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i)
    {
        threads.emplace_back(work, i);
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

// A text that shows it when a part of it is missing or somebody else's.
std::wstring TextOf(int thread, int number)
{
    const std::wstring head = std::to_wstring(thread) + L"." + std::to_wstring(number) + L".";
    return head + std::wstring(static_cast<std::size_t>(number % 300), static_cast<wchar_t>(L'a' + thread)) +
           L"." + head;
}

TEST(LogConcurrency, LinesOfManyThreadsAreNeitherTornNorLostNorMixed)
{
    LogCapture log;
    // Others get their chance to come in.
    log.Writer().duringTrace = [](const wchar_t*) { SwitchToThread(); };
    RunOnThreads(
        [](int thread)
        {
            for (int i = 0; i < linesOfAThread; ++i)
            {
                const std::wstring text = TextOf(thread, i);
                if (i % 2 == 0)
                {
                    LOG_INFO << text;
                }
                else
                {
                    LOG_PRINTF(LogLevel::Info, L": [INFO] %s", text.c_str());
                }
            }
        });

    log.Writer().duringTrace = nullptr;

    // Each thread's lines come whole and in the order in which it wrote them.
    std::map<wchar_t, int> next;
    for (const LogMessage& message : log.Messages())
    {
        const std::wstring prefix = L": [INFO] ";
        ASSERT_TRUE(message.text.starts_with(prefix));
        const wchar_t thread = message.text[prefix.size()];
        EXPECT_EQ(message.text, prefix + TextOf(thread - L'0', next[thread]++));
        EXPECT_EQ(message.source, L"LogConcurrencyTests");
    }
    EXPECT_EQ(next.size(), std::size_t{threadCount});
    EXPECT_EQ(log.Lines().size(), std::size_t{threadCount * linesOfAThread});
    EXPECT_EQ(log.Writer().overlaps, 0) << "the writer is called by one thread at a time";
    EXPECT_EQ(log.Writer().wrongHandles, 0);
}

TEST(LogConcurrency, TheConfigurationMayBeReadAnewWhileOthersLog)
{
    TestSupport::TempDir dir;
    dir.Write(L"vzdbg.ini", "[InteractiveSession]\r\nEnable=1\r\nLevel=0x1111\r\n");
    LogCapture log;
    std::atomic<int> running{threadCount - 1};
    RunOnThreads(
        [&](int thread)
        {
            if (thread == 0)
            {
                const std::wstring names[] = {std::wstring(20, L'a'), std::wstring(40, L'b')};
                for (int i = 0; running > 0; ++i)
                {
                    EXPECT_TRUE(s_pDebugLog->Initialize(
                        names[i % 2], Storage::Key::ForIniFile(dir.Path().c_str(), L"\\vzdbg.ini"), L""));
                }
                return;
            }
            for (int i = 0; i < linesOfAThread; ++i)
            {
                LOG_ERROR << i;
            }
            --running;
        });

    const std::wstring first = L" <LogCapture> : ";
    const std::wstring second = L" <" + std::wstring(20, L'a') + L"> : ";
    const std::wstring third = L" <" + std::wstring(40, L'b') + L"> : ";
    for (const std::wstring& line : log.Lines())
    {
        EXPECT_TRUE(line.find(first) != std::wstring::npos || line.find(second) != std::wstring::npos ||
                    line.find(third) != std::wstring::npos);
    }
    EXPECT_EQ(log.Lines().size(), std::size_t{(threadCount - 1) * linesOfAThread});
    EXPECT_EQ(log.Writer().initializations, 1);
}

// Uninitialize waits for the line that is being written, and later lines fail without harm.
TEST(LogConcurrency, TheLogMayEndWhileOthersLog)
{
    LogCapture log;
    std::atomic<int> written{0};
    RunOnThreads(
        [&](int thread)
        {
            if (thread == 0)
            {
                while (written < threadCount)
                {
                    SwitchToThread();
                }
                EXPECT_TRUE(DebugLog::Uninitialize());
                return;
            }
            while (s_pDebugLog->Trace("f", 1, LogLevel::Forced, L"x"))
            {
                ++written;
            }
        });
    EXPECT_EQ(log.Lines().size(), static_cast<std::size_t>(written));
    EXPECT_EQ(log.Writer().overlaps, 0);
    EXPECT_EQ(log.Writer().uninitializations, 1);
}

// The object goes only when nobody is in it: a thread may still log while the process ends.
TEST(LogConcurrency, TheLogMayBeDeletedWhileOthersLog)
{
    constexpr int rounds = 100;
    for (int round = 0; round < rounds; ++round)
    {
        LogCapture log;
        std::atomic<bool> ended{false};
        RunOnThreads(
            [&](int thread)
            {
                if (thread == 0)
                {
                    while (log.Writer().Count() == 0)
                    {
                        SwitchToThread();
                    }
                    ShutdownDebugLog();
                    ended = true;
                    return;
                }
                while (!ended)
                {
                    FUNCTION_TRACE(L"worker");
                    LOG_ERROR << L"line";
                }
            });
        EXPECT_EQ(s_pDebugLog, nullptr);
        EXPECT_EQ(log.Writer().overlaps, 0);
    }
}

} // namespace

#include "ClientProcess.h"
#include "LogTest.h"
#include "ObjectCounts.h"
#include "WaitUntil.h"

#include <atomic>
#include <map>
#include <memory>
#include <sstream>
#include <thread>

namespace
{

using ConcurrencyTest = LogTest;

// The numbers that each writer's lines carry, in the order of the files. A line that is not whole fails.
std::map<std::string, std::vector<unsigned>> NumbersByWriter(const std::string& text)
{
    std::map<std::string, std::vector<unsigned>> numbers;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line))
    {
        std::istringstream words(line);
        std::string writer, filling;
        unsigned number = 0;
        words >> writer >> number >> filling;
        const bool whole =
            line.size() == 999 && line.back() == '\r' && filling.find_first_not_of('.') == std::string::npos;
        if (!whole)
        {
            ADD_FAILURE() << "torn: " << line;
            break;
        }
        numbers[writer].push_back(number);
    }
    return numbers;
}

std::vector<unsigned> UpTo(unsigned last)
{
    std::vector<unsigned> numbers;
    for (unsigned number = 1; number <= last; ++number)
    {
        numbers.push_back(number);
    }
    return numbers;
}

std::wstring WriterLine(const std::wstring& writer, unsigned number)
{
    const std::wstring line = writer + L" " + std::to_wstring(number) + L" ";
    return line + std::wstring(998 - line.size(), L'.') + L"\r\n";
}

TEST_F(ConcurrencyTest, LosesNoLineOfSeveralProcessesInOneFolder)
{
    constexpr unsigned count = 10'000; // more than one file holds
    std::vector<std::unique_ptr<ClientProcess>> clients;
    for (const wchar_t* robust : {L"0", L"1", L"0", L"1"})
    {
        clients.push_back(std::make_unique<ClientProcess>(
            std::vector<std::wstring>{L"write", folder.Path(), robust, std::to_wstring(count)}));
    }
    for (const auto& client : clients)
    {
        EXPECT_EQ(client->Wait(), 0U);
    }
    const auto numbers = NumbersByWriter(AllText());
    EXPECT_EQ(numbers.size(), clients.size());
    for (auto [writer, found] : numbers)
    {
        std::sort(found.begin(), found.end());
        EXPECT_TRUE(found == UpTo(count)) << writer;
    }
}

TEST_F(ConcurrencyTest, KeepsEveryAcknowledgedLineOfAKilledRobustWriter)
{
    ClientProcess client({L"acknowledge", folder.Path(), L"1", L"0"});
    std::string last;
    for (int lines = 0; lines < 300; ++lines)
    {
        last = client.ReadLine();
    }
    client.Kill();
    for (std::string line = client.ReadLine(); !line.empty(); line = client.ReadLine())
    {
        last = line;
    }
    client.Wait();
    const auto acknowledged = static_cast<unsigned>(std::stoul(last));
    EXPECT_GE(acknowledged, 300U);
    const auto numbers = NumbersByWriter(AllText());
    ASSERT_EQ(numbers.size(), 1U);
    const std::vector<unsigned>& found = numbers.begin()->second;
    EXPECT_TRUE(found == UpTo(acknowledged) || found == UpTo(acknowledged + 1)) << found.size();
}

TEST_F(ConcurrencyTest, LeavesTheFileToTheLiveProcessThatHoldsIt)
{
    ClientProcess holder({L"hold", folder.Path(), L"1", L"1"});
    ASSERT_EQ(holder.ReadLine(), "holding");
    ClientProcess other({L"write", folder.Path(), L"1", L"2"});
    EXPECT_EQ(other.Wait(), 0U);
    const std::vector<std::wstring> both = Files();
    ASSERT_EQ(both.size(), 2U);
    EXPECT_EQ(Read(both[0]).size(), 2000U); // the second slot comes first by name
    EXPECT_EQ(Read(both[1]).size(), 1000U);
    EXPECT_FALSE(DeleteFileW(folder.Path(both[1]).c_str()));

    holder.CloseInput();
    EXPECT_EQ(holder.Wait(), 0U);
    ClientProcess third({L"write", folder.Path(), L"1", L"1"});
    EXPECT_EQ(third.Wait(), 0U);
    EXPECT_EQ(Files(), both);
    EXPECT_EQ(Read(both[1]).size(), 2000U);
}

TEST_F(ConcurrencyTest, TakesTheFileOfAKilledProcessOver)
{
    ClientProcess holder({L"hold", folder.Path(), L"1", L"1"});
    ASSERT_EQ(holder.ReadLine(), "holding");
    holder.Kill();
    holder.Wait();
    ClientProcess next({L"write", folder.Path(), L"1", L"1"});
    EXPECT_EQ(next.Wait(), 0U);
    EXPECT_EQ(Files().size(), 1U);
    EXPECT_EQ(AllText().size(), 2000U);
}

TEST_F(ConcurrencyTest, KeepsTheLinesOfEightThreadsWholeAndInOrder)
{
    constexpr unsigned count = 1000;
    for (const BYTE robust : {BYTE{0}, BYTE{1}})
    {
        VzDbgConfig config = Config();
        config.robust = robust;
        TestLog log(library, config);
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 8; ++thread)
        {
            threads.emplace_back(
                [&log, writer = std::to_wstring(thread + 8 * robust)]
                {
                    for (unsigned number = 1; number <= count; ++number)
                    {
                        EXPECT_EQ(log.Trace(WriterLine(writer, number)), 0U);
                    }
                });
        }
        for (std::thread& thread : threads)
        {
            thread.join();
        }
    }
    const auto numbers =
        NumbersByWriter(Read(Files().front()) + (Files().size() > 1 ? Read(Files().back()) : ""));
    EXPECT_EQ(numbers.size(), 16U);
    for (const auto& [writer, found] : numbers)
    {
        EXPECT_TRUE(found == UpTo(count)) << writer;
    }
}

TEST_F(ConcurrencyTest, RefusesLinesOnceTheLogHasEnded)
{
    TestLog log(library, Config());
    void* const handle = log.Handle();
    std::vector<std::thread> threads;
    std::atomic<int> refused = 0;
    for (int thread = 0; thread < 8; ++thread)
    {
        threads.emplace_back(
            [&, handle]
            {
                while (library.trace(handle, nullptr, L"line\r\n") == 0)
                {
                }
                ++refused;
            });
    }
    while (AllText().size() < 1000)
    {
        std::this_thread::yield();
    }
    log.Close();
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(refused, 8);
    EXPECT_EQ(AllText().size() % 6, 0U);
}

TEST_F(ConcurrencyTest, KeepsSeveralLogsOfOneProcessApart)
{
    VzDbgConfig config = Config();
    const TestLog first(library, config);
    Put(config.moduleName, L"Event");
    const TestLog second(library, config);
    EXPECT_EQ(first.Trace(L"first\r\n") + second.Trace(L"second\r\n"), 0U);
    ASSERT_EQ(Files().size(), 2U);
    EXPECT_EQ(Read(Files()[0]), "first\r\n");
    EXPECT_EQ(Read(Files()[1]), "second\r\n");
}

TEST_F(ConcurrencyTest, RefusesMoreLogsThanItHasPlacesFor)
{
    const VzDbgConfig config = Config();
    std::vector<std::unique_ptr<TestLog>> logs;
    for (int count = 0; count < 64; ++count)
    {
        logs.push_back(std::make_unique<TestLog>(library, config));
        EXPECT_EQ(logs.back()->Trace(L"line\r\n"), 0U);
    }
    void* handle = nullptr;
    EXPECT_EQ(library.initialize(&handle, &config), DWORD{ERROR_TOO_MANY_OPEN_FILES});
    EXPECT_EQ(handle, nullptr);
    logs.pop_back();
    EXPECT_EQ(TestLog(library, config).Trace(L"line\r\n"), 0U);
    EXPECT_EQ(Files().size(), 64U);
}

TEST_F(ConcurrencyTest, LeavesNothingBehindInTheProcess)
{
    const auto useOnce = [this]
    {
        const TestLog log(library, Config());
        EXPECT_EQ(log.Trace(L"line\r\n"), 0U);
    };
    EXPECT_EQ(TestSupport::GrowthOf(useOnce, 200), "");
}

// The system ends the threads of its pool some seconds after their last use.
TEST_F(ConcurrencyTest, LeavesNothingBehindOfItsWorkOnTheThreadPool)
{
    VzDbgConfig config = Config();
    config.robust = 0;
    config.logUnitType = 1;
    const auto useOnce = [&]
    {
        const TestLog log(library, config);
        EXPECT_EQ(log.Trace(L"line\r\n", At(1, 1)) + log.Trace(L"line\r\n", At(2, 1)), 0U);
    };
    useOnce();
    static_cast<void>(TestSupport::CountObjects()); // counting has its own first use
    const TestSupport::ObjectCounts before = TestSupport::CountObjects();
    for (int round = 0; round < 200; ++round)
    {
        useOnce();
    }
    TestSupport::ObjectCounts after;
    EXPECT_TRUE(TestSupport::WaitUntil(
        [&]
        {
            after = TestSupport::CountObjects();
            return after.handles <= before.handles && after.threads <= before.threads;
        }))
        << before.handles << " -> " << after.handles << " handles, " << before.threads << " -> "
        << after.threads << " threads";
}

TEST_F(ConcurrencyTest, IsGoneFromTheProcessAfterTheLastUse)
{
    const auto useOnce = [this]
    {
        const LogLibrary again;
        VzDbgConfig config = Config();
        config.robust = 0;
        const TestLog log(again, config);
        EXPECT_EQ(log.Trace(L"line\r\n") + log.Trace(L"line\r\n"), 0U);
    };
    FreeLibrary(library.Module());
    ASSERT_EQ(GetModuleHandleW(L"VzDbgLog.dll"), nullptr);
    EXPECT_EQ(TestSupport::GrowthOf(useOnce, 20), "");
    EXPECT_EQ(GetModuleHandleW(L"VzDbgLog.dll"), nullptr);
}

} // namespace

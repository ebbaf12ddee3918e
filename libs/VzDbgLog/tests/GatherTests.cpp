#include "ClientProcess.h"
#include "ImportPatch.h"
#include "LogTest.h"
#include "WaitUntil.h"

namespace
{

int s_timerStarts = 0;
LONGLONG s_due = 0;

void WINAPI RecordTimer(PTP_TIMER /*timer*/, FILETIME* due, DWORD /*period*/, DWORD /*window*/)
{
    if (due != nullptr)
    {
        ++s_timerStarts;
        s_due = static_cast<LONGLONG>(static_cast<ULONGLONG>(due->dwHighDateTime) << 32 | due->dwLowDateTime);
    }
}

// A log that gathers, under a clock that stands and a timer that never fires.
class GatherTest : public LogTest
{
protected:
    GatherTest()
        : clock(nullptr, "GetTickCount64", &StandingTick, library.Module()),
          timer(nullptr, "SetThreadpoolTimer", &RecordTimer, library.Module())
    {
    }

    [[nodiscard]] VzDbgConfig Gathering() const
    {
        VzDbgConfig config = Config();
        config.robust = 0;
        return config;
    }

    [[nodiscard]] std::string Text() const { return Read(Name(L".log")); }

    [[nodiscard]] std::size_t Size() const { return folder.SizeOf(Name(L".log")); }

    TestSupport::ImportPatch clock;
    TestSupport::ImportPatch timer;
};

int s_timersMade = 0;

PTP_TIMER WINAPI MakeNoTimer(PTP_TIMER_CALLBACK /*callback*/, void* /*context*/,
                             PTP_CALLBACK_ENVIRON /*pool*/)
{
    ++s_timersMade;
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

class GatherTimerTest : public LogTest
{
};

TEST_F(GatherTest, WritesTheFirstLineAtOnceAndGathersTheNext)
{
    TestLog log(library, Gathering());
    for (int line = 0; line < 100; ++line)
    {
        EXPECT_EQ(log.Trace(L"line\r\n"), 0U);
    }
    EXPECT_EQ(Text(), "line\r\n");
    EXPECT_EQ(s_timerStarts, 1);
    EXPECT_EQ(s_due, -500 * 10'000);
    log.Close();
    EXPECT_EQ(Text().size(), 600U);
}

TEST_F(GatherTest, WritesEachLineAtOnceWithoutATimer)
{
    const TestSupport::ImportPatch none(nullptr, "CreateThreadpoolTimer", &MakeNoTimer, library.Module());
    const TestLog log(library, Gathering());
    EXPECT_EQ(log.Trace(L"one\r\n") + log.Trace(L"two\r\n"), 0U);
    EXPECT_EQ(Text(), "one\r\ntwo\r\n");
}

TEST_F(GatherTest, LeavesTheThreadPoolAloneWhereNothingIsGathered)
{
    s_timersMade = 0;
    const TestSupport::ImportPatch none(nullptr, "CreateThreadpoolTimer", &MakeNoTimer, library.Module());
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(L"one\r\n") + log.Trace(L"two\r\n"), 0U);
    EXPECT_EQ(s_timersMade, 0);
}

TEST_F(GatherTest, WritesALineAtOnceAfterAPause)
{
    const TestLog log(library, Gathering());
    EXPECT_EQ(log.Trace(L"one\r\n") + log.Trace(L"two\r\n"), 0U);
    LetPass(500);
    EXPECT_EQ(log.Trace(L"three\r\n"), 0U);
    EXPECT_EQ(Text(), "one\r\ntwo\r\nthree\r\n");
    EXPECT_EQ(log.Trace(L"four\r\n"), 0U);
    EXPECT_EQ(Text(), "one\r\ntwo\r\nthree\r\n");
}

TEST_F(GatherTest, WritesAtOnceWithAnErrorLine)
{
    const TestLog log(library, Gathering());
    EXPECT_EQ(log.Trace(Line(L"first")) + log.Trace(Line(L"gathered")), 0U);
    EXPECT_EQ(log.Trace(Line(L"!!! <no error>", L"@@@")), 0U);
    EXPECT_EQ(Text().find("gathered"), std::string::npos);
    EXPECT_EQ(log.Trace(Line(L"error", L"!!!")), 0U);
    EXPECT_NE(Text().find("gathered"), std::string::npos);
    EXPECT_TRUE(Text().ends_with("!!! <Agent> error - Source(153)\r\n"));
}

TEST_F(GatherTest, KeepsNoMoreThanItsBufferInMemory)
{
    const TestLog log(library, Gathering());
    const std::size_t lines = 1000;
    for (std::size_t line = 0; line < lines; ++line)
    {
        EXPECT_EQ(log.Trace(std::wstring(998, L'x') + L"\r\n"), 0U);
        EXPECT_LE((line + 1) * 1000, Size() + 64 * 1024);
    }
    EXPECT_LT(Size(), lines * 1000);
}

TEST_F(GatherTest, StartsNoTimerForLinesThatAreInTheFile)
{
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(L"one\r\n") + log.Trace(L"two\r\n"), 0U);
    EXPECT_EQ(Text(), "one\r\ntwo\r\n");
    EXPECT_EQ(s_timerStarts, 0);
}

TEST_F(GatherTimerTest, WritesWhatItGatheredWithoutAnotherCall)
{
    VzDbgConfig config = Config();
    config.robust = 0;
    const TestLog log(library, config);
    for (int round = 0; round < 3; ++round)
    {
        std::string expected = Read(Name(L".log"));
        EXPECT_EQ(log.Trace(L"one\r\n") + log.Trace(L"two\r\n"), 0U);
        expected += "one\r\ntwo\r\n";
        EXPECT_TRUE(TestSupport::WaitUntil([&] { return Read(Name(L".log")) == expected; }));
    }
}

TEST_F(GatherTimerTest, WritesWhatItGatheredAtTheEndOfTheProcess)
{
    for (const wchar_t* command : {L"leave", L"unload"})
    {
        const std::size_t before = AllText().size();
        ClientProcess client({command, folder.Path(), L"0", L"10"});
        EXPECT_EQ(client.Wait(), 0U);
        EXPECT_EQ(AllText().size(), before + 10'000);
    }
}

} // namespace

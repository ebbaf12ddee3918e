#include "VzComn_LogChannel.h"

#include "ImportPatch.h"
#include "LogCapture.h"
#include "RecordingWriter.h"
#include "TempDir.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::ImportPatch;
using TestSupport::RecordingLogFolder;
using TestSupport::RecordingWriter;
using namespace VzCommon;

// A channel is the process's own and starts once, so each of these cases wants a process of its own.
namespace
{

// Logs before the channels are made and after they are gone, in every one of these processes. It would hang
// or crash there.
struct EarlyAndLate
{
    EarlyAndLate() { Log(); }

    ~EarlyAndLate() { Log(); }

    EarlyAndLate(const EarlyAndLate&) = delete;
    EarlyAndLate& operator=(const EarlyAndLate&) = delete;

    static void Log()
    {
        LOG_EVENT << L"early or late";
        LOG_FEEDBACK_ERROR << L"early or late";
    }
};

__attribute__((init_priority(101))) EarlyAndLate s_earlyAndLate;

std::wstring s_modulePath;

DWORD WINAPI FakeGetModuleFileNameW(HMODULE /*module*/, wchar_t* path, DWORD size)
{
    const auto length = static_cast<DWORD>(s_modulePath.copy(path, size - 1));
    path[length] = L'\0';
    return length;
}

std::atomic<int> s_asked{0};

std::wstring WriterFolder()
{
    ++s_asked;
    return RecordingLogFolder();
}

std::wstring NoFolder()
{
    ++s_asked;
    return L"";
}

class LogChannelTest : public testing::Test
{
protected:
    LogChannelTest() { s_modulePath = RecordingLogFolder() + L"\\QxSessionAgent.exe"; }

    // What follows time, process and thread, up to the source's line.
    std::vector<std::wstring> Rests() const
    {
        std::vector<std::wstring> rests;
        for (const std::wstring& line : writer.Lines())
        {
            const std::size_t begin = line.find(L' ', 24) + 1;
            rests.push_back(line.substr(begin, line.rfind(L'(') - begin));
        }
        return rests;
    }

    RecordingWriter writer;
    ImportPatch patch{nullptr, "GetModuleFileNameW", &FakeGetModuleFileNameW};
};

TEST_F(LogChannelTest, EventWritesForcedLinesBesideTheExecutable)
{
    ASSERT_EQ(s_pDebugLog, nullptr);
    LOG_EVENT << L":  " << L"Crash catched!";
    EXPECT_THAT(Rests(), ElementsAre(L"??? <Event> :  Crash catched! - LogChannelTests"));
    EXPECT_STREQ(writer->config.moduleName, L"Event");
}

TEST_F(LogChannelTest, FeedbackErrorWritesInTheFolderThatItIsGiven)
{
    s_modulePath = L"C:\\nowhere\\QxSessionAgent.exe";
    SetFeedbackErrorFolder(&WriterFolder);
    EXPECT_EQ(s_asked, 0) << "the folder is asked for when the channel starts";
    LOG_FEEDBACK_ERROR << L"[Crash]:  " << L"QxSessionAgent";
    EXPECT_EQ(s_asked, 1);
    EXPECT_THAT(Rests(), ElementsAre(L"??? <FeedbackError> [Crash]:  QxSessionAgent - LogChannelTests"));
    EXPECT_STREQ(writer->config.moduleName, L"FeedbackError");
}

TEST_F(LogChannelTest, StartsOnce)
{
    SetFeedbackErrorFolder(&WriterFolder);
    for (int i = 0; i < 3; ++i)
    {
        LOG_EVENT << i;
        LOG_FEEDBACK_ERROR << i;
    }
    EXPECT_EQ(writer->initializations, 2);
    EXPECT_EQ(s_asked, 1);
    EXPECT_EQ(writer.Lines().size(), 6U);
}

TEST_F(LogChannelTest, StartsOnceForManyThreadsAndLosesNoLine)
{
    SetFeedbackErrorFolder(&WriterFolder);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
    {
        threads.emplace_back(
            []
            {
                LOG_EVENT << L"x";
                LOG_FEEDBACK_ERROR << L"x";
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(writer->initializations, 2);
    EXPECT_EQ(writer.Lines().size(), 16U);
}

TEST_F(LogChannelTest, DoesNotTryAgainAfterAStartThatFailed)
{
    s_modulePath = L"C:\\nowhere\\QxSessionAgent.exe";
    LOG_EVENT << L"lost";
    s_modulePath = RecordingLogFolder() + L"\\QxSessionAgent.exe";
    LOG_EVENT << L"lost too";
    EXPECT_THAT(writer.Lines(), IsEmpty());
    EXPECT_EQ(writer->initializations, 0);
}

TEST_F(LogChannelTest, FeedbackErrorStaysSilentWithoutAFolder)
{
    SetFeedbackErrorFolder(&NoFolder);
    LOG_FEEDBACK_ERROR << L"lost";
    EXPECT_EQ(s_asked, 1);
    SetFeedbackErrorFolder(&WriterFolder);
    LOG_FEEDBACK_ERROR << L"lost too";
    EXPECT_EQ(s_asked, 1) << "the folder is asked for once";
    EXPECT_THAT(writer.Lines(), IsEmpty());
}

TEST_F(LogChannelTest, FeedbackErrorStaysSilentWithNobodyToAsk)
{
    LOG_FEEDBACK_ERROR << L"lost";
    EXPECT_THAT(writer.Lines(), IsEmpty());
}

TEST_F(LogChannelTest, FeedbackErrorStaysSilentWhenTheFolderCannotBeTold)
{
    SetFeedbackErrorFolder([]() -> std::wstring { throw std::runtime_error("no registry"); });
    LOG_FEEDBACK_ERROR << L"lost";
    EXPECT_THAT(writer.Lines(), IsEmpty());
}

TEST_F(LogChannelTest, AsksForTheFolderWhileTheMainLogMayBeUsed)
{
    TestSupport::LogCapture log;
    SetFeedbackErrorFolder(
        []
        {
            LOG_DEBUG << L"s_wszQxId = Melvio";
            return RecordingLogFolder();
        });
    LOG_FEEDBACK_ERROR << L"x";
    EXPECT_THAT(Rests(), ElementsAre(L"??? <LogCapture> : [DEBUG] s_wszQxId = Melvio - LogChannelTests",
                                     L"??? <FeedbackError> x - LogChannelTests"));
}

TEST_F(LogChannelTest, KeepsPercentSignsAndTheLastError)
{
    writer->duringTrace = [](const wchar_t*) { SetLastError(87); };
    SetLastError(1234);
    LOG_EVENT << L"100%s";
    EXPECT_EQ(GetLastError(), 1234U);
    EXPECT_THAT(Rests(), ElementsAre(L"??? <Event> 100%s - LogChannelTests"));
}

TEST_F(LogChannelTest, StaysUpWhenTheMainLogEnds)
{
    LOG_EVENT << L"first";
    InitDebugLog(L"Main");
    ShutdownDebugLog();
    LOG_EVENT << L"second";
    EXPECT_EQ(writer.Lines().size(), 2U);
    EXPECT_EQ(writer->uninitializations, 1) << "that of the main log";
}

} // namespace

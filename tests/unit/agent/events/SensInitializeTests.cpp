#include "FakeEventSystem.h"
#include "ImportPatch.h"
#include "LogCapture.h"
#include "QxSensSink.h"
#include "QxSensSinkHelper.h"
#include "ScarceMemory.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
constexpr std::uint32_t allSets = 0x111;

int g_initialized = 0;
int g_uninitialized = 0;
HRESULT g_initializeAnswer = S_FALSE;

HRESULT WINAPI FakeCoInitialize(LPVOID reserved)
{
    EXPECT_EQ(reserved, nullptr);
    ++g_initialized;
    return g_initializeAnswer;
}

void WINAPI FakeCoUninitialize()
{
    EXPECT_EQ(TheEvents().living, 0) << "no object outlives COM";
    ++g_uninitialized;
}

HWND g_postedTo = nullptr;

BOOL WINAPI NoteTarget(HWND window, UINT /*message*/, WPARAM /*wParam*/, LPARAM /*lParam*/)
{
    g_postedTo = window;
    return TRUE;
}

class SensInitializeTest : public ::testing::Test
{
protected:
    SensInitializeTest()
    {
        g_initialized = 0;
        g_uninitialized = 0;
        g_initializeAnswer = S_FALSE;
    }

    ~SensInitializeTest() override
    {
        CQxSensSinkHelper::QxSensType = 0;
        static_cast<void>(CQxSensSinkHelper::Uninitialize());
    }

    // The sink, as an event system gets it.
    static const CQxSensSink* Sink()
    {
        const SensSubscription row{L"m", L"n", L"{1}"};
        EXPECT_TRUE(CQxSensSinkHelper::SubscriptEvent(L"{class}", 1, &row));
        return static_cast<const CQxSensSink*>(TheEvents().stored.back().sink);
    }

    EventSystem system;
    TestSupport::LogCapture log{0x0111};
    TestSupport::ImportPatch initialize{nullptr, "CoInitialize", &FakeCoInitialize};
    TestSupport::ImportPatch uninitialize{nullptr, "CoUninitialize", &FakeCoUninitialize};
};
} // namespace

TEST_F(SensInitializeTest, MakesTheEventSystemAndSubscribesNothing)
{
    CQxSensSinkHelper::QxSensType = allSets;
    EXPECT_TRUE(CQxSensSinkHelper::Initialize(frame));
    EXPECT_EQ(CQxSensSinkHelper::QxSensType, 0U) << "whatever it was";
    EXPECT_THAT(TheEvents().calls, ElementsAre("event system"));
    EXPECT_EQ(TheEvents().living, 1);
    EXPECT_EQ(g_initialized, 1);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(SensInitializeTest, TheEndRemovesNothingWhereNothingWasSubscribed)
{
    ASSERT_TRUE(CQxSensSinkHelper::Initialize(frame));
    EXPECT_TRUE(CQxSensSinkHelper::Uninitialize());
    EXPECT_EQ(TheEvents().living, 0);
    EXPECT_THAT(TheEvents().removed, IsEmpty());
    EXPECT_EQ(g_uninitialized, 1);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(SensInitializeTest, FailsWithoutCom)
{
    CQxSensSinkHelper::QxSensType = allSets;
    g_initializeAnswer = static_cast<HRESULT>(0x80010106);
    EXPECT_FALSE(CQxSensSinkHelper::Initialize(frame));
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] CoInitialize() failed!!! ErrorCode: -2147417850"));
    EXPECT_THAT(TheEvents().calls, IsEmpty());
    EXPECT_EQ(CQxSensSinkHelper::QxSensType, allSets) << "nothing was reached";
    EXPECT_TRUE(CQxSensSinkHelper::Uninitialize());
    EXPECT_EQ(g_uninitialized, 1) << "all the same";
}

TEST_F(SensInitializeTest, ASystemWithoutEventsIsNoFailure)
{
    TheEvents().failing = "event system";
    EXPECT_TRUE(CQxSensSinkHelper::Initialize(frame));
    EXPECT_THAT(log.Texts(), IsEmpty());
    CQxSensSinkHelper::QxSensType = allSets;
    EXPECT_TRUE(CQxSensSinkHelper::Uninitialize());
    EXPECT_THAT(log.Texts(), IsEmpty());
    EXPECT_EQ(g_uninitialized, 1);
}

TEST_F(SensInitializeTest, ASecondCallLeavesOneEventSystem)
{
    ASSERT_TRUE(CQxSensSinkHelper::Initialize(frame));
    EXPECT_TRUE(CQxSensSinkHelper::Initialize(nullptr));
    EXPECT_EQ(TheEvents().living, 1);
}

TEST_F(SensInitializeTest, ASecondCallKeepsTheSinkWithItsWindow)
{
    const TestSupport::ImportPatch post(nullptr, "PostMessageW", &NoteTarget);
    ASSERT_TRUE(CQxSensSinkHelper::Initialize(frame));
    const CQxSensSink* const sink = Sink();
    ASSERT_TRUE(CQxSensSinkHelper::Initialize(reinterpret_cast<HWND>(0x8765)));
    EXPECT_EQ(Sink(), sink);
    const_cast<CQxSensSink*>(sink)->ConnectionMade(nullptr, 1, nullptr);
    EXPECT_EQ(g_postedTo, frame);
}

TEST_F(SensInitializeTest, TheEndFreesTheSinkWhateverTheReferencesToIt)
{
    ASSERT_TRUE(CQxSensSinkHelper::Initialize(frame));
    const_cast<CQxSensSink*>(Sink())->AddRef();
    const long long blocks = BlocksAlive();
    EXPECT_TRUE(CQxSensSinkHelper::Uninitialize());
    EXPECT_EQ(BlocksAlive(), blocks - 2) << "the sink and the test's event system";
}

TEST_F(SensInitializeTest, StartsWithoutMemoryForTheSink)
{
    {
        const NoMemory noMemory;
        EXPECT_TRUE(CQxSensSinkHelper::Initialize(frame));
    }
    EXPECT_EQ(Sink(), nullptr);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(SensInitializeTest, WithoutAStartTheEndIsOfComAlone)
{
    EXPECT_TRUE(CQxSensSinkHelper::Uninitialize());
    EXPECT_TRUE(CQxSensSinkHelper::Uninitialize());
    EXPECT_EQ(g_uninitialized, 2);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST(SensOfTheSystemTest, WithoutAnEventSystemTheAgentStartsAllTheSame)
{
    const TestSupport::LogCapture log{0x0111};
    CoInitialize(nullptr);
    EXPECT_TRUE(CQxSensSinkHelper::Initialize(frame));
    EXPECT_TRUE(CQxSensSinkHelper::Uninitialize());
    EXPECT_THAT(log.Texts(), IsEmpty());
    EXPECT_EQ(CoInitialize(nullptr), S_FALSE) << "what the helper began it ended, and no more";
    CoUninitialize();
    CoUninitialize();
}

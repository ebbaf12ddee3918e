#include <gmock/gmock.h>
#include <ole2.h>

#include <afxwin.h>

#include "AgentLog.h"
#include "FakeProduct.h"
#include "ImportPatch.h"
#include "Neighbours.h"
#include "TempDir.h"
#include "TempRegistry.h"
#include "VzComn_Synchronize.h"
#include "WaitUntil.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Every test is a process of its own and so has the one static application object to itself.
namespace
{
std::wstring g_shown;

HRESULT WINAPI NoOle(LPVOID /*reserved*/)
{
    return E_FAIL;
}

int WINAPI RecordMessage(HWND /*owner*/, LPCWSTR text, LPCWSTR /*caption*/, UINT /*type*/)
{
    g_shown = text;
    return IDOK;
}

HWND WINAPI NoWindow(DWORD /*exStyle*/, LPCWSTR /*className*/, LPCWSTR /*name*/, DWORD /*style*/, int /*x*/,
                     int /*y*/, int /*width*/, int /*height*/, HWND /*parent*/, HMENU /*menu*/,
                     HINSTANCE /*instance*/, LPVOID /*parameter*/)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

class ApplicationTest : public ::testing::Test
{
protected:
    ApplicationTest()
    {
        dir.Write(L"Configuration\\QxSessionAgentCfg.json", R"({"startMode":{}})");
        EXPECT_TRUE(exitEvent.CreateMultipleGlobal(L"WATCHDOG_NOTIFY_UIDESKTRAY_EXITMelvio", nullptr));
        SetEvent(exitEvent.Handle()); // so that no thread outlives the test
    }

    void WaitForExitThread()
    {
        EXPECT_TRUE(
            TestSupport::WaitUntil([this] { return log.Holds(L"SendMessage to exit QxSessionAgent..."); }));
    }

    TestSupport::TempDir dir;
    TestSupport::TempRegistry registry;
    FakeProduct product{L"QxSessionAgent_M.exe", dir.Path()};
    AgentLog log{dir};
    VzCommon::Synchronize::Event exitEvent;
    CWinApp* app = AfxGetApp();
};

TEST_F(ApplicationTest, IsNamedAndRestartedByTheSystem)
{
    EXPECT_TRUE(app->SupportsRestartManager());
    EXPECT_FALSE(app->SupportsApplicationRecovery());
    EXPECT_STREQ(app->m_pszAppID, L"QxSessionAgent.AppID.NoVersion");
}

TEST_F(ApplicationTest, BringsTheFrameUpAndTakesEverythingBack)
{
    ASSERT_TRUE(app->InitInstance());
    ASSERT_NE(app->m_pMainWnd, nullptr);
    EXPECT_FALSE(IsWindowVisible(app->m_pMainWnd->m_hWnd));
    EXPECT_EQ(GetPropW(app->m_pMainWnd->m_hWnd, L"Norvane Soft Melvio SessionAgent"),
              reinterpret_cast<HANDLE>(1));
    WaitForExitThread();
    TheNeighbours().calls.clear();
    EXPECT_EQ(app->Run(), 0) << "the exit event closes the frame, and that ends the loop";
    EXPECT_THAT(TheNeighbours().calls, ElementsAre("event of its own {\"eventId\":23,\"type\":1}\n",
                                                   "unregister", "sens end", "crash handler end"));
}

TEST_F(ApplicationTest, SaysSoAndEndsWithoutOle)
{
    const TestSupport::ImportPatch ole(nullptr, "OleInitialize", &NoOle);
    const TestSupport::ImportPatch message(nullptr, "MessageBoxW", &RecordMessage);
    EXPECT_FALSE(app->InitInstance());
    EXPECT_EQ(g_shown,
              L"OLE initialization failed.  Make sure that the OLE libraries are the correct version.");
    EXPECT_EQ(app->m_pMainWnd, nullptr);
    TheNeighbours().calls.clear();
    app->ExitInstance();
    EXPECT_THAT(CallsBut("wait"), IsEmpty()) << "the registration is not taken back";
}

TEST_F(ApplicationTest, EndsInFullWhenTheFrameDoesNotComeUp)
{
    {
        const TestSupport::ImportPatch window(nullptr, "CreateWindowExW", &NoWindow);
        TheNeighbours().calls.clear();
        EXPECT_TRUE(app->InitInstance());
    }
    EXPECT_EQ(app->m_pMainWnd, nullptr);
    EXPECT_EQ(CallsBut("crash").back(), "event 18");
    WaitForExitThread();
    TheNeighbours().calls.clear();
    EXPECT_EQ(app->Run(), 0) << "the loop ends at once";
    EXPECT_THAT(TheNeighbours().calls, ElementsAre("unregister", "sens end", "crash handler end"));
}

TEST_F(ApplicationTest, TouchesNothingAfterAStartThatFailed)
{
    DeleteFileW(dir.Path(L"Configuration\\QxSessionAgentCfg.json").c_str());
    EXPECT_FALSE(app->InitInstance());
    app->ExitInstance();
    EXPECT_THAT(CallsBut("wait"), IsEmpty());
}
} // namespace

#include "ImportPatch.h"
#include "TestFrame.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>

namespace
{
std::wstring s_text;
std::wstring s_caption;
UINT s_type = 0;
HWND s_owner = nullptr;

int WINAPI NoteBox(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type)
{
    s_owner = owner;
    s_text = text;
    s_caption = caption;
    s_type = type;
    return IDRETRY;
}

HRESULT WINAPI NoteAppId(PCWSTR id)
{
    s_text = id;
    return S_OK;
}

class CKeyedApp : public CTestApp
{
public:
    CKeyedApp() { SetRegistryKey(L"Local Keys"); }
};

TEST(AppTest, IsFoundWhileItLives)
{
    EXPECT_EQ(AfxGetApp(), nullptr);
    EXPECT_EQ(AfxGetThread(), nullptr);
    EXPECT_EQ(AfxGetMainWnd(), nullptr);
    {
        CTestApp app;
        EXPECT_EQ(AfxGetApp(), &app);
        EXPECT_EQ(AfxGetThread(), &app);
        EXPECT_EQ(app.m_hInstance, GetModuleHandleW(nullptr));
        EXPECT_EQ(AfxGetInstanceHandle(), app.m_hInstance);
    }
    EXPECT_EQ(AfxGetApp(), nullptr);
    EXPECT_EQ(AfxGetThread(), nullptr);
}

TEST(AppTest, IsFoundByOtherThreadsButIsNotTheirs)
{
    CTestApp app;
    std::thread(
        [&]
        {
            EXPECT_EQ(AfxGetApp(), &app);
            EXPECT_EQ(AfxGetThread(), nullptr);
            EXPECT_EQ(AfxGetMainWnd(), nullptr);
        })
        .join();
}

TEST(AppTest, IsNamedAfterItsFileWithoutAName)
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const CWinApp app(nullptr);
    EXPECT_EQ(app.m_pszAppName, std::filesystem::path(path).stem().wstring());
}

TEST(AppTest, KeepsTheRegistryKey)
{
    const CKeyedApp app;
    EXPECT_STREQ(app.m_pszRegistryKey, L"Local Keys");
}

TEST(AppTest, TellsTheShellItsIdentity)
{
    const TestSupport::ImportPatch patch(nullptr, "SetCurrentProcessExplicitAppUserModelID", &NoteAppId);
    CTestApp app;
    app.SetAppID(L"Framework.AppID.NoVersion");
    EXPECT_EQ(s_text, L"Framework.AppID.NoVersion");
    EXPECT_STREQ(app.m_pszAppID, L"Framework.AppID.NoVersion");
}

TEST(AppTest, AnswersForItsRestartFlags)
{
    CTestApp app;
    EXPECT_FALSE(app.SupportsRestartManager());
    app.m_dwRestartManagerSupportFlags = 1;
    EXPECT_TRUE(app.SupportsRestartManager());
    EXPECT_FALSE(app.SupportsApplicationRecovery());
    app.m_dwRestartManagerSupportFlags = AFX_RESTART_MANAGER_SUPPORT_RECOVERY;
    EXPECT_FALSE(app.SupportsRestartManager());
    EXPECT_TRUE(app.SupportsApplicationRecovery());
}

TEST(AppTest, SwitchesTheTaskbarBeforeThereIsAMainWindow)
{
    CTestApp app;
    EXPECT_TRUE(app.IsTaskbarInteractionEnabled());
    EXPECT_TRUE(app.EnableTaskbarInteraction(FALSE));
    EXPECT_FALSE(app.IsTaskbarInteractionEnabled());
    CWnd window;
    app.m_pMainWnd = &window;
    EXPECT_FALSE(app.EnableTaskbarInteraction());
    EXPECT_FALSE(app.IsTaskbarInteractionEnabled());
    app.m_pMainWnd = nullptr;
}

TEST(MessageBoxTest, ShowsTheStringOverTheMainWindow)
{
    const TestSupport::ImportPatch patch(nullptr, "MessageBoxW", &NoteBox);
    CTestApp app;
    auto* frame = new CTestFrame;
    app.m_pMainWnd = frame;
    ASSERT_TRUE(frame->LoadFrame(IDR_FRAME));
    EXPECT_EQ(AfxMessageBox(IDS_PROMPT), IDRETRY);
    EXPECT_EQ(s_owner, frame->m_hWnd);
    EXPECT_EQ(s_text, L"Something could not be started.  Try again.");
    EXPECT_EQ(s_caption, L"Framework tests");
    EXPECT_EQ(s_type, static_cast<UINT>(MB_OK | MB_ICONEXCLAMATION));
    frame->DestroyWindow();
    QuitIsPosted();
}

TEST(MessageBoxTest, TakesTheCallersButtonsAndIcon)
{
    const TestSupport::ImportPatch patch(nullptr, "MessageBoxW", &NoteBox);
    CTestApp app;
    AfxMessageBox(L"text", MB_YESNO | MB_ICONSTOP);
    EXPECT_EQ(s_owner, nullptr);
    EXPECT_EQ(s_text, L"text");
    EXPECT_EQ(s_type, static_cast<UINT>(MB_YESNO | MB_ICONSTOP));
}

TEST(MessageBoxTest, WorksWithoutAnApplicationAndWithoutTheString)
{
    const TestSupport::ImportPatch patch(nullptr, "MessageBoxW", &NoteBox);
    AfxMessageBox(9999U);
    EXPECT_EQ(s_text, L"");
    EXPECT_EQ(s_caption, L"");
}
} // namespace

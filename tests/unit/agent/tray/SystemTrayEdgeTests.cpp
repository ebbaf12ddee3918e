// What a tray icon meets besides its daily life: ends at bad moments, forged messages, a system without
// means.
#include "SystemTrayScene.h"

#include "WaitUntil.h"
#include "resource.h"

#include <array>
#include <cstring>
#include <new>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

SYSTEMTIME g_now{};
DWORD g_version = 0;

VOID WINAPI PlayTime(SYSTEMTIME* time)
{
    *time = g_now;
}

DWORD WINAPI PlayVersion()
{
    return g_version;
}

HMENU WINAPI HaveNoMenu(HINSTANCE /*module*/, LPCWSTR /*name*/)
{
    return nullptr;
}

// An object that can be destroyed under its users' feet: nothing of it is left to be read.
template <typename Object>
class Doomed
{
public:
    Doomed() : m_object(new (m_memory.data()) Object) {}

    ~Doomed() { Destroy(); }

    Doomed(const Doomed&) = delete;
    Doomed& operator=(const Doomed&) = delete;

    Object* operator->() { return m_object; }

    void Destroy()
    {
        if (m_object != nullptr)
        {
            m_object->~Object();
            m_object = nullptr;
            std::memset(m_memory.data(), 0xDD, m_memory.size());
        }
    }

private:
    alignas(Object) std::array<unsigned char, sizeof(Object)> m_memory{};
    Object* m_object;
};

Doomed<TargetWindow>* g_target = nullptr;
Doomed<TestTray>* g_tray = nullptr;
std::vector<HWND> g_nulls; // who was posted WM_NULL

BOOL WINAPI EndAllInTheMenu(HMENU /*menu*/, UINT /*flags*/, int /*x*/, int /*y*/, int /*reserved*/,
                            HWND /*window*/, const RECT* /*rect*/)
{
    g_tray->Destroy();
    g_target->Destroy();
    return TRUE;
}

BOOL WINAPI NotePost(HWND window, UINT message, WPARAM /*wParam*/, LPARAM /*lParam*/)
{
    if (message == WM_NULL)
    {
        g_nulls.push_back(window);
    }
    return TRUE;
}

class EndingTrayTest : public testing::Test
{
protected:
    EndingTrayTest()
    {
        g_target = &target;
        g_tray = &tray;
        g_nulls.clear();
        window = target->m_hWnd;
        EXPECT_TRUE(tray->Create(target.operator->(), L"", PlayedIcon(7)));
        tray->SetTargetWindow(target.operator->());
    }

    TestSupport::LogCapture log;
    TrayScene scene;
    TestSupport::ImportPatch menu{nullptr, "TrackPopupMenu", &EndAllInTheMenu};
    TestSupport::ImportPatch post{nullptr, "PostMessageW", &NotePost};
    Doomed<TargetWindow> target;
    Doomed<TestTray> tray;
    HWND window = nullptr;
};

TEST_F(EndingTrayTest, SurvivesAMenuThatEndsThemBothAtARightClick)
{
    EXPECT_EQ(tray->OnTrayCallback(IDR_TRAY, WM_RBUTTONUP), 1);
    EXPECT_THAT(g_nulls, ElementsAre(window));
}

TEST_F(EndingTrayTest, SurvivesAMenuThatEndsThemBothAfterALeftClick)
{
    const HWND own = tray->m_hWnd;
    EXPECT_EQ(tray->OnTrayCallback(IDR_TRAY, WM_LBUTTONUP), 1);
    SendMessageW(own, WM_TIMER, click, 0);
    EXPECT_THAT(g_nulls, ElementsAre(window));
}

} // namespace

TEST_F(SystemTrayTest, TakesNoNoticeOfCallbacksWhereNoIconStood)
{
    tray.SetTargetWindow(&target);
    for (const UINT event : {WM_LBUTTONUP, WM_LBUTTONDBLCLK, WM_RBUTTONUP})
    {
        EXPECT_EQ(tray.OnTrayCallback(0, static_cast<LPARAM>(event)), 0);
        EXPECT_EQ(tray.OnTrayCallback(IDR_TRAY, static_cast<LPARAM>(event)), 0);
    }
    EXPECT_THAT(g_timers.running, IsEmpty());
    EXPECT_THAT(g_menus, IsEmpty());
}

TEST_F(SystemTrayTest, TakesNoForgedTickForATimerThatDoesNotRun)
{
    Create();
    const HICON frames[] = {PlayedIcon(1), PlayedIcon(2)};
    EXPECT_TRUE(tray.SetIconList(frames, 2));
    for (const UINT_PTR forged : {UINT_PTR{0}, animation, click, UINT_PTR{4569}})
    {
        tray.Tick(forged);
    }
    EXPECT_THAT(g_shell.calls, IsEmpty());
    EXPECT_THAT(g_menus, IsEmpty());
}

TEST_F(SystemTrayTest, KeepsItsWindowWhoeverAsksItToClose)
{
    Create();
    SendMessageW(tray.m_hWnd, WM_CLOSE, 0, 0);
    EXPECT_TRUE(IsWindow(tray.m_hWnd));
}

TEST_F(SystemTrayTest, GoesOnAnimatingForAHundredYearsButNotForEver)
{
    const TestSupport::ImportPatch time(nullptr, "GetLocalTime", &PlayTime);
    g_now = {2026, 1, 4, 1, 12, 0, 0, 0};
    Create();
    const HICON frames[] = {PlayedIcon(1), PlayedIcon(2)};
    EXPECT_TRUE(tray.SetIconList(frames, 2));
    EXPECT_TRUE(tray.Animate());
    g_now.wYear = 2126;
    tray.Tick(animation);
    EXPECT_EQ(Last().hIcon, PlayedIcon(2));
    EXPECT_TRUE(g_timers.running.contains(animation));
    g_now.wYear = 2166; // more seconds than 32 bits hold
    tray.Tick(animation);
    EXPECT_EQ(Last().hIcon, PlayedIcon(7));
    EXPECT_FALSE(g_timers.running.contains(animation));
}

TEST_F(SystemTrayTest, AnimatesOnWhenTheClockIsPutBack)
{
    const TestSupport::ImportPatch time(nullptr, "GetLocalTime", &PlayTime);
    g_now = {2026, 6, 4, 1, 12, 0, 0, 0};
    Create();
    const HICON frames[] = {PlayedIcon(1), PlayedIcon(2)};
    EXPECT_TRUE(tray.SetIconList(frames, 2));
    EXPECT_TRUE(tray.Animate());
    g_now.wYear = 1990;
    tray.Tick(animation);
    EXPECT_EQ(Last().hIcon, PlayedIcon(2));
}

TEST_F(SystemTrayTest, ForgetsAPendingAddWhenItIsRemovedThoughTheShellRefuses)
{
    Create();
    g_shell.refused = {NIM_ADD, NIM_DELETE};
    tray.TellTaskbarCreated();
    EXPECT_FALSE(tray.RemoveIcon());
    g_shell.calls.clear();
    tray.TellSetting(SPI_SETWORKAREA);
    EXPECT_THAT(g_shell.calls, IsEmpty());
}

TEST_F(SystemTrayTest, LeavesAnAddPendingBehindARetryThatSucceeds)
{
    Create();
    g_shell.refused = {NIM_ADD, NIM_MODIFY};
    tray.TellTaskbarCreated();
    EXPECT_FALSE(tray.SetIcon(PlayedIcon(8)));
    g_shell.refused.clear();
    tray.Tick(4569);
    g_shell.calls.clear();
    tray.TellSetting(SPI_SETWORKAREA);
    EXPECT_THAT(Messages(), ElementsAre(DWORD{NIM_ADD}));
}

TEST_F(SystemTrayTest, ShowsNothingOnASystemBeforeTheNotificationArea)
{
    const TestSupport::ImportPatch version(nullptr, "GetVersion", &PlayVersion);
    g_version = 3;
    EXPECT_FALSE(tray.Create(&target, L"", PlayedIcon(7)));
    EXPECT_FALSE(tray.SetIcon(PlayedIcon(7)));
    EXPECT_FALSE(tray.SetTooltipText(L"tip"));
    EXPECT_TRUE(tray.RemoveIcon());
    EXPECT_THAT(g_shell.calls, IsEmpty());
}

TEST_F(SystemTrayTest, DoesNothingOnAClickWithoutItsMenuResource)
{
    Create();
    const TestSupport::ImportPatch menu(nullptr, "LoadMenuW", &HaveNoMenu);
    EXPECT_EQ(tray.OnTrayCallback(IDR_TRAY, WM_LBUTTONDBLCLK), 0);
    EXPECT_EQ(tray.OnTrayCallback(IDR_TRAY, WM_LBUTTONUP), 1);
    EXPECT_EQ(tray.OnTrayCallback(IDR_TRAY, WM_RBUTTONUP), 1);
    EXPECT_THAT(g_menus, IsEmpty());
    MSG message{};
    EXPECT_FALSE(PeekMessageW(&message, target.m_hWnd, WM_COMMAND, WM_COMMAND, PM_REMOVE));
}

TEST_F(SystemTrayTest, GivesTheCommandToTheMainWindowWithoutATarget)
{
    CWinApp app(nullptr);
    app.m_pMainWnd = &target;
    ASSERT_TRUE(tray.Create(nullptr, L"", PlayedIcon(7)));
    EXPECT_EQ(tray.OnTrayCallback(IDR_TRAY, WM_LBUTTONDBLCLK), 1);
    EXPECT_EQ(tray.OnTrayCallback(IDR_TRAY, WM_LBUTTONUP), 1);
    EXPECT_TRUE(TestSupport::PumpMessagesUntil([this] { return !target.commands.empty(); }));
    app.m_pMainWnd = nullptr;
}

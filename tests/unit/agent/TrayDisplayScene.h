#pragma once

#include "MainFrm.h"

#include "AgentIds.h"
#include "FakeProduct.h"
#include "Neighbours.h"
#include "ProfileParser.h"
#include "SystemTrayScene.h"
#include "TempRegistry.h"

inline constexpr UINT_PTR animationTimer = 4567;

extern std::vector<std::wstring> g_files; // asked for as icons
extern std::set<std::wstring> g_missing;  // of them
extern std::vector<HICON> g_destroyed;    // icons
extern bool g_ownIconMissing;
extern int g_defaultTimers; // timer messages that reached the default procedure

HANDLE WINAPI PlayImage(HINSTANCE module, LPCWSTR file, UINT type, int width, int height, UINT flags);
BOOL WINAPI NoteDestroyed(HICON icon);
HICON WINAPI PlayOwnIcon(HINSTANCE module, LPCWSTR name);

// Opens the progress, which has no writer yet.
class ScanningFrame : public CMainFrame
{
public:
    void Reach(UINT percent) { m_uProgress = percent; }

protected:
    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        g_defaultTimers += message == WM_TIMER ? 1 : 0;
        return CMainFrame::DefWindowProc(message, wParam, lParam);
    }
};

class TrayDisplayTest : public testing::Test
{
protected:
    TrayDisplayTest()
    {
        TheNeighbours() = {};
        g_files.clear();
        g_missing.clear();
        g_destroyed.clear();
        g_ownIconMissing = false;
        g_defaultTimers = 0;
        CProfileParser& profile = CProfileParser::Instance();
        profile.m_mapTooltips = {{32890, {32890, L"idle", L"Protected"}},
                                 {32891, {32891, L"scanning", L"%progress% done: %progress%"}}};
        profile.m_mapIcons = {{33090, {33090, L"scan", L"Misc\\Icons", 3}},
                              {33091, {33091, L"one", L"Misc", 1}}};
        registry.SetString(HKEY_LOCAL_MACHINE, L"SOFTWARE\\NorvaneSoft\\Melvio", L"ProductPath", L"C:\\P",
                           KEY_WOW64_64KEY);
        frame = new ScanningFrame;
        app.m_pMainWnd = frame;
    }

    ~TrayDisplayTest() override
    {
        if (app.m_pMainWnd != nullptr)
        {
            app.m_pMainWnd->DestroyWindow();
        }
    }

    void Create()
    {
        ASSERT_TRUE(frame->LoadFrame(128, 0x00CF8000));
        g_shell.calls.clear();
    }

    // With the animation running and its first frames shown.
    void Scan()
    {
        Create();
        frame->OnStartScan();
        ASSERT_TRUE(g_timers.running.contains(FrameTimer::Scan));
        g_shell.calls.clear();
    }

    void Tick() const { frame->SendMessage(WM_TIMER, FrameTimer::Scan); }

    static const NOTIFYICONDATAW& Last() { return g_shell.calls.back().data; }

    // What the shell was last told of the tooltip, also beside something else.
    static std::wstring Tip() { return Last().szTip; }

    FakeProduct product{L"QxSessionAgent_M.exe"};
    TestSupport::TempRegistry registry;
    TestSupport::LogCapture log{logLevels};
    TrayScene scene;
    TestSupport::ImportPatch image{nullptr, "LoadImageW", &PlayImage};
    TestSupport::ImportPatch destroy{nullptr, "DestroyIcon", &NoteDestroyed};
    TestSupport::ImportPatch ownIcon{nullptr, "LoadIconW", &PlayOwnIcon};
    CWinApp app{nullptr};
    ScanningFrame* frame = nullptr;
};

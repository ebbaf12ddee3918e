#include "TestFrame.h"
#include "UniqueName.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
constexpr UINT WM_OWN = WM_APP + 10;

const UINT s_uRegistered = RegisterWindowMessageW(TestSupport::UniqueName(L"MessageMapTests").c_str());
const UINT s_uFailedRegistration = 0;

// One handler for each macro; each notes what it was given.
class CProbe : public CWnd
{
public:
    bool Make(LPVOID parameter = nullptr)
    {
        return CreateEx(0, AfxRegisterWndClass(0), L"probe", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                        parameter) != FALSE;
    }

    int m_onCreateResult = 0;
    std::vector<std::wstring> m_calls;
    HBRUSH m_brush = static_cast<HBRUSH>(GetStockObject(NULL_BRUSH));
    HDC m_ctlDC = nullptr;
    HWND m_ctlWnd = nullptr;

protected:
    void Note(const std::wstring& name, LONGLONG first = 0, LONGLONG second = 0)
    {
        m_calls.push_back(name + L" " + std::to_wstring(first) + L" " + std::to_wstring(second));
    }

    afx_msg int OnCreate(LPCREATESTRUCT lpCreateStruct)
    {
        Note(std::wstring(L"create ") + lpCreateStruct->lpszName,
             reinterpret_cast<LONGLONG>(lpCreateStruct->lpCreateParams));
        return m_onCreateResult;
    }

    afx_msg void OnClose() { Note(L"close"); }

    afx_msg void OnDestroy()
    {
        Note(L"destroy");
        CWnd::OnDestroy();
    }

    afx_msg void OnPaint()
    {
        Note(L"paint");
        CWnd::OnPaint();
    }

    afx_msg void OnTimer(UINT_PTR nIDEvent) { Note(L"timer", static_cast<LONGLONG>(nIDEvent)); }

    afx_msg void OnSettingChange(UINT uFlags, LPCTSTR lpszSection)
    {
        Note(std::wstring(L"setting ") + lpszSection, uFlags);
    }

    afx_msg void OnSessionChange(UINT nSessionState, UINT nId) { Note(L"session", nSessionState, nId); }

    afx_msg HBRUSH OnCtlColor(CDC* pDC, CWnd* pWnd, UINT nCtlColor)
    {
        m_ctlDC = pDC->GetSafeHdc();
        m_ctlWnd = pWnd->GetSafeHwnd();
        pDC->SetBkMode(TRANSPARENT);
        Note(L"colour", nCtlColor);
        return m_brush;
    }

    afx_msg void OnInitMenuPopup(CMenu* pMenu, UINT nIndex, BOOL bSysMenu)
    {
        Note(L"popup " + std::to_wstring(pMenu->GetMenuItemCount()), nIndex, bSysMenu);
    }

    afx_msg BOOL OnQueryEndSession()
    {
        Note(L"query end");
        return FALSE;
    }

    afx_msg void OnEndSession(BOOL bEnding) { Note(L"end", bEnding); }

    DECLARE_MESSAGE_MAP()

private:
    afx_msg LRESULT OnOwn(WPARAM wParam, LPARAM lParam)
    {
        Note(L"own", static_cast<LONGLONG>(wParam), lParam);
        return 41;
    }

    afx_msg LRESULT OnRegistered(WPARAM wParam, LPARAM lParam)
    {
        Note(L"registered", static_cast<LONGLONG>(wParam), lParam);
        return 42;
    }

    afx_msg LRESULT OnNeverRegistered(WPARAM, LPARAM)
    {
        Note(L"never");
        return 43;
    }

    afx_msg void OnFirst() { Note(L"first"); }

    afx_msg void OnUpdateFirst(CCmdUI* pCmdUI)
    {
        Note(L"update", pCmdUI->m_nID);
        pCmdUI->Enable(TRUE);
    }
};

BEGIN_MESSAGE_MAP(CProbe, CWnd)
    ON_WM_CREATE()
    ON_WM_CLOSE()
    ON_WM_DESTROY()
    ON_WM_PAINT()
    ON_WM_TIMER()
    ON_WM_SETTINGCHANGE()
    ON_WM_WTSSESSION_CHANGE()
    ON_WM_CTLCOLOR()
    ON_WM_INITMENUPOPUP()
    ON_WM_QUERYENDSESSION()
    ON_WM_ENDSESSION()
    ON_REGISTERED_MESSAGE(s_uFailedRegistration, &CProbe::OnNeverRegistered)
    ON_MESSAGE(WM_OWN, &CProbe::OnOwn)
    ON_REGISTERED_MESSAGE(s_uRegistered, &CProbe::OnRegistered)
    ON_COMMAND(ID_FIRST, &CProbe::OnFirst)
    ON_UPDATE_COMMAND_UI(ID_FIRST, &CProbe::OnUpdateFirst)
END_MESSAGE_MAP()

// Answers one message itself and leaves the others to its base.
class CDerivedProbe : public CProbe
{
protected:
    afx_msg void OnTimer(UINT_PTR nIDEvent)
    {
        Note(L"derived timer", static_cast<LONGLONG>(nIDEvent));
        CProbe::OnTimer(nIDEvent);
    }

    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CDerivedProbe, CProbe)
    ON_WM_TIMER()
END_MESSAGE_MAP()

class CEmptyMap : public CProbe
{
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CEmptyMap, CProbe)
END_MESSAGE_MAP()

using Calls = std::vector<std::wstring>;

class MessageMapTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_probe.Make());
        m_probe.m_calls.clear();
    }

    CProbe m_probe;
};

TEST_F(MessageMapTest, HandsTheCreationRecordToOnCreate)
{
    CProbe probe;
    int parameter = 0;
    ASSERT_TRUE(probe.Make(&parameter));
    EXPECT_EQ(probe.m_calls.front(),
              L"create probe " + std::to_wstring(reinterpret_cast<LONGLONG>(&parameter)) + L" 0");
}

TEST_F(MessageMapTest, LetsOnCreateRefuseTheWindow)
{
    CProbe probe;
    probe.m_onCreateResult = -1;
    EXPECT_FALSE(probe.Make());
    EXPECT_EQ(probe.m_hWnd, nullptr);
    EXPECT_EQ(probe.m_calls.front(), L"create probe 0 0");
}

TEST_F(MessageMapTest, DispatchesClose)
{
    EXPECT_EQ(m_probe.SendMessage(WM_CLOSE), 0);
    EXPECT_EQ(m_probe.m_calls, Calls{L"close 0 0"});
    EXPECT_TRUE(IsWindow(m_probe.m_hWnd));
}

TEST_F(MessageMapTest, DispatchesDestroy)
{
    EXPECT_TRUE(m_probe.DestroyWindow());
    EXPECT_EQ(m_probe.m_calls, Calls{L"destroy 0 0"});
}

TEST_F(MessageMapTest, DispatchesPaintAndItsDefaultEndsThePainting)
{
    m_probe.ShowWindow(SW_SHOWNOACTIVATE);
    m_probe.m_calls.clear();
    InvalidateRect(m_probe.m_hWnd, nullptr, TRUE);
    UpdateWindow(m_probe.m_hWnd);
    EXPECT_EQ(m_probe.m_calls, Calls{L"paint 0 0"});
    EXPECT_FALSE(GetUpdateRect(m_probe.m_hWnd, nullptr, FALSE));
}

TEST_F(MessageMapTest, DispatchesTimersWithTheirWholeNumber)
{
    m_probe.SendMessage(WM_TIMER, 0x100000001);
    EXPECT_EQ(m_probe.m_calls, Calls{L"timer 4294967297 0"});
}

TEST_F(MessageMapTest, DispatchesSettingChanges)
{
    m_probe.SendMessage(WM_SETTINGCHANGE, SPI_SETWORKAREA, reinterpret_cast<LPARAM>(L"section"));
    EXPECT_EQ(m_probe.m_calls, Calls{L"setting section 47 0"});
}

TEST_F(MessageMapTest, DispatchesSessionChanges)
{
    m_probe.SendMessage(WM_WTSSESSION_CHANGE, 7, 3);
    EXPECT_EQ(m_probe.m_calls, Calls{L"session 7 3"});
}

TEST_F(MessageMapTest, DispatchesEveryColourMessageWithContextAndControl)
{
    const HDC context = GetDC(m_probe.m_hWnd);
    for (UINT kind = 0; kind <= WM_CTLCOLORSTATIC - WM_CTLCOLORMSGBOX; ++kind)
    {
        m_probe.m_calls.clear();
        const LRESULT brush = m_probe.SendMessage(WM_CTLCOLORMSGBOX + kind, reinterpret_cast<WPARAM>(context),
                                                  reinterpret_cast<LPARAM>(m_probe.m_hWnd));
        EXPECT_EQ(m_probe.m_calls, Calls{L"colour " + std::to_wstring(kind) + L" 0"});
        EXPECT_EQ(brush, reinterpret_cast<LRESULT>(m_probe.m_brush));
    }
    EXPECT_EQ(m_probe.m_ctlDC, context);
    EXPECT_EQ(m_probe.m_ctlWnd, m_probe.m_hWnd);
    EXPECT_EQ(GetBkMode(context), TRANSPARENT);
    ReleaseDC(m_probe.m_hWnd, context);
}

TEST_F(MessageMapTest, LeavesAColourMessageWithoutContextToTheSystem)
{
    m_probe.SendMessage(WM_CTLCOLORSTATIC, 0, 0);
    EXPECT_TRUE(m_probe.m_calls.empty());
}

TEST_F(MessageMapTest, DoesNotTakeTheMapsMarkForAColourMessage)
{
    m_probe.SendMessage(WM_CTLCOLOR, 0, 0);
    m_probe.SendMessage(WM_CTLCOLOR, 1, 1);
    EXPECT_TRUE(m_probe.m_calls.empty());
}

TEST_F(MessageMapTest, DispatchesTheOpeningOfAMenu)
{
    CMenu menu;
    ASSERT_TRUE(menu.CreatePopupMenu());
    menu.AppendMenu(MF_STRING, ID_FIRST, L"first");
    m_probe.SendMessage(WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(menu.m_hMenu), MAKELPARAM(5, TRUE));
    EXPECT_EQ(m_probe.m_calls, Calls{L"popup 1 5 1"});
}

TEST_F(MessageMapTest, DispatchesTheEndOfTheSession)
{
    EXPECT_EQ(m_probe.SendMessage(WM_QUERYENDSESSION), 0);
    m_probe.SendMessage(WM_ENDSESSION, TRUE);
    EXPECT_EQ(m_probe.m_calls, (Calls{L"query end 0 0", L"end 1 0"}));
}

TEST_F(MessageMapTest, DispatchesAnOwnMessageWithBothParametersAndItsResult)
{
    EXPECT_EQ(m_probe.SendMessage(WM_OWN, 314, -2), 41);
    EXPECT_EQ(m_probe.m_calls, Calls{L"own 314 -2"});
}

TEST_F(MessageMapTest, DispatchesARegisteredMessageByTheNumberInItsVariable)
{
    ASSERT_GE(s_uRegistered, 0xC000U);
    EXPECT_EQ(m_probe.SendMessage(s_uRegistered, 1, 2), 42);
    EXPECT_EQ(m_probe.m_calls, Calls{L"registered 1 2"});
}

TEST_F(MessageMapTest, SendsNothingToAMessageThatCouldNotBeRegistered)
{
    EXPECT_EQ(m_probe.SendMessage(WM_NULL), 0);
    EXPECT_TRUE(m_probe.m_calls.empty());
}

TEST_F(MessageMapTest, DispatchesACommandAfterAskingForItsState)
{
    EXPECT_EQ(m_probe.SendMessage(WM_COMMAND, ID_FIRST), 1);
    EXPECT_EQ(m_probe.m_calls, (Calls{L"update 33000 0", L"first 0 0"}));
}

TEST_F(MessageMapTest, LeavesOtherMessagesToTheSystem)
{
    wchar_t text[32] = {};
    m_probe.SendMessage(WM_GETTEXT, 32, reinterpret_cast<LPARAM>(text));
    EXPECT_STREQ(text, L"probe");
    EXPECT_TRUE(m_probe.m_calls.empty());
}

TEST(MessageMapChainTest, AsksTheDerivedMapFirst)
{
    CDerivedProbe probe;
    ASSERT_TRUE(probe.Make());
    probe.m_calls.clear();
    probe.SendMessage(WM_TIMER, 2);
    EXPECT_EQ(probe.m_calls, (Calls{L"derived timer 2 0", L"timer 2 0"}));
}

TEST(MessageMapChainTest, FindsWhatOnlyTheBaseMaps)
{
    CDerivedProbe probe;
    ASSERT_TRUE(probe.Make());
    probe.m_calls.clear();
    EXPECT_EQ(probe.SendMessage(WM_OWN, 1, 1), 41);
    EXPECT_EQ(probe.m_calls, Calls{L"own 1 1"});
}

TEST(MessageMapChainTest, PassesThroughAnEmptyMap)
{
    CEmptyMap probe;
    ASSERT_TRUE(probe.Make());
    EXPECT_EQ(probe.SendMessage(s_uRegistered), 42);
}

TEST(MessageMapChainTest, EndsInTheDefaultOfTheWindowClass)
{
    // OnClose of the base destroys the window, as the system's own procedure does.
    class CCloser : public CWnd
    {
    } closer;

    ASSERT_TRUE(closer.CreateEx(0, AfxRegisterWndClass(0), L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr));
    closer.SendMessage(WM_CLOSE);
    EXPECT_EQ(closer.m_hWnd, nullptr);
}
} // namespace

#include "ImportPatch.h"
#include "ObjectCounts.h"
#include "TestFrame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace
{
std::vector<UINT> s_sent; // to any window of this thread

LRESULT CALLBACK NoteSent(int code, WPARAM wParam, LPARAM lParam)
{
    s_sent.push_back(reinterpret_cast<const CWPSTRUCT*>(lParam)->message);
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

constexpr UINT WM_PROBE = WM_APP + 1;

class CRecorder : public CWnd
{
public:
    bool Make(LPCTSTR name = AfxRegisterWndClass(0))
    {
        return CreateEx(0, name, L"recorder", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr, nullptr) != FALSE;
    }

    std::vector<UINT> m_messages;
    UINT m_refused = 0;
    bool m_allowed = true;
    int m_ended = 0;
    HWND m_last = nullptr;
    BOOL (*m_duringLast)(HWND) = nullptr;

protected:
    BOOL PreCreateWindow(CREATESTRUCT& cs) override { return m_allowed && CWnd::PreCreateWindow(cs); }

    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        m_messages.push_back(message);
        if (message == m_refused)
        {
            return message == WM_CREATE ? -1 : FALSE;
        }
        if (message == WM_NCDESTROY)
        {
            m_last = m_hWnd;
            ::SendMessageW(m_hWnd, WM_PROBE, 0, 0);
        }
        return CWnd::WindowProc(message, wParam, lParam);
    }

    void PostNcDestroy() override
    {
        ++m_ended;
        if (m_last != nullptr)
        {
            ::SendMessageW(m_last, WM_PROBE, 1, 0);
        }
    }
};

class CSelfDeleting : public CWnd
{
public:
    explicit CSelfDeleting(bool& gone) : m_gone(gone) {}

    ~CSelfDeleting() override { m_gone = true; }

protected:
    BOOL PreCreateWindow(CREATESTRUCT&) override { return FALSE; }

    void PostNcDestroy() override { delete this; }

private:
    bool& m_gone;
};

class CThrower : public CWnd
{
public:
    afx_msg LRESULT OnProbe(WPARAM, LPARAM) { throw new std::string("nobody catches this"); }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CThrower, CWnd)
    ON_MESSAGE(WM_PROBE, &CThrower::OnProbe)
END_MESSAGE_MAP()

// A window whose handlers find no memory.
class CPauper : public CWnd
{
public:
    bool m_bPoor = true;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (m_bPoor && (message == WM_CREATE || message == WM_PROBE))
        {
            throw std::bad_alloc();
        }
        return CWnd::WindowProc(message, wParam, lParam);
    }
};

TEST(WndTest, LeavesAHandlerThatFindsNoMemory)
{
    CPauper pauper;
    const auto bMake = [&pauper]
    { return pauper.CreateEx(0, AfxRegisterWndClass(0), L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr); };
    EXPECT_FALSE(bMake()) << "the window is given up";
    pauper.m_bPoor = false;
    ASSERT_TRUE(bMake());
    pauper.m_bPoor = true;
    EXPECT_EQ(pauper.SendMessage(WM_PROBE), 0);
    EXPECT_TRUE(IsWindow(pauper.m_hWnd));
}

TEST(WndTest, KnowsItsWindowFromNcCreateToNcDestroy)
{
    s_sent.clear();
    const HHOOK hook = SetWindowsHookExW(WH_CALLWNDPROC, &NoteSent, nullptr, GetCurrentThreadId());
    CRecorder recorder;
    ASSERT_TRUE(recorder.Make());
    UnhookWindowsHookEx(hook);

    // The system asks for the sizes first; the object is not there yet.
    ASSERT_FALSE(s_sent.empty());
    EXPECT_EQ(s_sent.front(), static_cast<UINT>(WM_GETMINMAXINFO));
    EXPECT_EQ(recorder.m_messages.front(), static_cast<UINT>(WM_NCCREATE));
    EXPECT_EQ(CWnd::FromHandlePermanent(recorder.m_hWnd), &recorder);

    EXPECT_TRUE(recorder.DestroyWindow());
    EXPECT_EQ(recorder.GetSafeHwnd(), nullptr);
    EXPECT_EQ(recorder.m_ended, 1);
}

TEST(WndTest, GetsMessagesDuringNcDestroyButNotAfterIt)
{
    CRecorder recorder;
    ASSERT_TRUE(recorder.Make());
    recorder.m_messages.clear();
    recorder.DestroyWindow();
    EXPECT_EQ(std::count(recorder.m_messages.begin(), recorder.m_messages.end(), WM_PROBE), 1);
    EXPECT_EQ(recorder.m_messages.back(), WM_PROBE);
    EXPECT_EQ(AfxWndProc(recorder.m_last, WM_PROBE, 0, 0), 0);
    EXPECT_EQ(CWnd::FromHandlePermanent(recorder.m_last), nullptr);
}

TEST(WndTest, LetsGoOfAWindowThatFailsInCreate)
{
    CRecorder recorder;
    recorder.m_refused = WM_CREATE;
    EXPECT_FALSE(recorder.Make());
    EXPECT_EQ(recorder.m_hWnd, nullptr);
    EXPECT_EQ(recorder.m_ended, 1);
}

TEST(WndTest, LetsGoOfAWindowThatFailsInNcCreate)
{
    CRecorder recorder;
    recorder.m_refused = WM_NCCREATE;
    EXPECT_FALSE(recorder.Make());
    EXPECT_EQ(recorder.m_hWnd, nullptr);
    EXPECT_EQ(recorder.m_ended, 1);
}

TEST(WndTest, EndsAnObjectWhoseWindowTheSystemRefuses)
{
    CRecorder recorder;
    EXPECT_FALSE(recorder.Make(L"no such class"));
    EXPECT_EQ(recorder.m_ended, 1);
    EXPECT_TRUE(recorder.m_messages.empty());

    CRecorder next; // the refused one must not get this window
    ASSERT_TRUE(next.Make());
    EXPECT_EQ(CWnd::FromHandlePermanent(next.m_hWnd), &next);
}

TEST(WndTest, EndsAnObjectThatRefusesItself)
{
    bool gone = false;
    auto* wnd = new CSelfDeleting(gone);
    EXPECT_FALSE(wnd->CreateEx(0, nullptr, L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr));
    EXPECT_TRUE(gone);
}

TEST(WndTest, CanBeMadeAgain)
{
    CRecorder recorder;
    for (int i = 1; i <= 3; ++i)
    {
        ASSERT_TRUE(recorder.Make());
        recorder.DestroyWindow();
        EXPECT_EQ(recorder.m_ended, i);
    }
    EXPECT_FALSE(recorder.DestroyWindow());
}

TEST(WndTest, DestroysTheWindowOfADyingObject)
{
    HWND handle = nullptr;
    {
        CRecorder recorder;
        ASSERT_TRUE(recorder.Make());
        handle = recorder.m_hWnd;
    }
    EXPECT_FALSE(IsWindow(handle));
    EXPECT_EQ(CWnd::FromHandlePermanent(handle), nullptr);
}

TEST(WndTest, LeavesAWindowAloneThatTheSystemDoesNotDestroy)
{
    auto recorder = std::make_unique<CRecorder>();
    ASSERT_TRUE(recorder->Make());
    const HWND handle = recorder->m_hWnd;
    {
        const TestSupport::ImportPatch patch(
            nullptr, "DestroyWindow", +[](HWND) WINAPI { return FALSE; });
        recorder.reset();
    }
    EXPECT_EQ(CWnd::FromHandlePermanent(handle), nullptr);
    EXPECT_EQ(::SendMessageW(handle, WM_PROBE, 0, 0), 0);
    EXPECT_TRUE(::DestroyWindow(handle));
}

TEST(WndTest, KeepsSeveralWindowsApart)
{
    CRecorder first;
    CRecorder second;
    CRecorder third;
    ASSERT_TRUE(first.Make() && second.Make() && third.Make());
    second.DestroyWindow();
    EXPECT_EQ(CWnd::FromHandlePermanent(first.m_hWnd), &first);
    EXPECT_EQ(CWnd::FromHandlePermanent(third.m_hWnd), &third);
    third.DestroyWindow();
    EXPECT_EQ(CWnd::FromHandlePermanent(first.m_hWnd), &first);
}

TEST(WndTest, IsUnknownOnAnotherThread)
{
    CRecorder recorder;
    ASSERT_TRUE(recorder.Make());
    CWnd* other = &recorder;
    HWND wrapped = nullptr;
    std::thread(
        [&]
        {
            other = CWnd::FromHandlePermanent(recorder.m_hWnd);
            wrapped = CWnd::FromHandle(recorder.m_hWnd)->m_hWnd;
        })
        .join();
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(wrapped, recorder.m_hWnd);
    EXPECT_TRUE(IsWindow(recorder.m_hWnd)); // the wrapper of that thread is gone and has not destroyed it
}

TEST(WndTest, TakesOverAWindowOfAForeignClass)
{
    CRecorder label;
    ASSERT_TRUE(label.CreateEx(0, L"STATIC", L"text", WS_POPUP, 0, 0, 50, 20, nullptr, nullptr));
    wchar_t text[16] = {};
    label.SendMessage(WM_GETTEXT, 16, reinterpret_cast<LPARAM>(text));
    EXPECT_STREQ(text, L"text");
    EXPECT_EQ(label.m_messages.back(), static_cast<UINT>(WM_GETTEXT));
    EXPECT_NE(label.SendMessage(WM_GETDLGCODE) & DLGC_STATIC, 0);
    label.DestroyWindow();
    EXPECT_EQ(label.m_hWnd, nullptr);
    EXPECT_EQ(label.m_ended, 1);
}

TEST(WndTest, GivesTheForeignWindowItsProcedureBack)
{
    const HWND label =
        CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
    const LONG_PTR before = GetWindowLongPtrW(label, GWLP_WNDPROC);
    LONG_PTR after = 0;

    class CTaker : public CWnd
    {
    public:
        explicit CTaker(LONG_PTR& procedure) : m_procedure(procedure) {}

    protected:
        LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
        {
            const HWND window = m_hWnd;
            const LRESULT result = CWnd::WindowProc(message, wParam, lParam);
            if (message == WM_NCDESTROY)
            {
                m_procedure = GetWindowLongPtrW(window, GWLP_WNDPROC);
            }
            return result;
        }

    private:
        LONG_PTR& m_procedure;
    } taker(after);

    ASSERT_TRUE(taker.SubclassWindow(label));
    EXPECT_NE(GetWindowLongPtrW(label, GWLP_WNDPROC), before);
    ::DestroyWindow(label);
    EXPECT_EQ(after, before);
}

TEST(WndTest, ModifiesTheExtendedStyle)
{
    CRecorder recorder;
    ASSERT_TRUE(recorder.Make());
    EXPECT_TRUE(recorder.ModifyStyleEx(WS_EX_APPWINDOW, WS_EX_TOOLWINDOW, SWP_FRAMECHANGED));
    const LONG style = GetWindowLongW(recorder.m_hWnd, GWL_EXSTYLE);
    EXPECT_NE(style & WS_EX_TOOLWINDOW, 0);
    EXPECT_EQ(style & WS_EX_APPWINDOW, 0);
    EXPECT_FALSE(recorder.ModifyStyleEx(WS_EX_APPWINDOW, WS_EX_TOOLWINDOW));
}

TEST(WndTest, MovesAndShows)
{
    CRecorder recorder;
    ASSERT_TRUE(recorder.Make());
    EXPECT_FALSE(recorder.ShowWindow(SW_SHOWNOACTIVATE));
    EXPECT_TRUE(IsWindowVisible(recorder.m_hWnd));
    recorder.MoveWindow(20, 30, 200, 150);
    RECT rect{};
    GetWindowRect(recorder.m_hWnd, &rect);
    EXPECT_EQ(rect.left, 20);
    EXPECT_EQ(rect.bottom, 180);
}

TEST(WndTest, StartsAndStopsTimers)
{
    CRecorder recorder;
    ASSERT_TRUE(recorder.Make());
    EXPECT_NE(recorder.SetTimer(4567, 1, nullptr), 0U);
    while (std::find(recorder.m_messages.begin(), recorder.m_messages.end(), WM_TIMER) ==
           recorder.m_messages.end())
    {
        ASSERT_TRUE(AfxPumpMessage());
    }
    EXPECT_TRUE(recorder.KillTimer(4567));
}

TEST(WndTest, EndsTheProcessWhenAHandlerThrows)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::set_terminate([] { _exit(77); });
            CThrower thrower;
            thrower.CreateEx(0, AfxRegisterWndClass(0), L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr);
            try
            {
                thrower.SendMessage(WM_PROBE);
            }
            catch (...)
            {
            }
            _exit(78);
        },
        testing::ExitedWithCode(77), "");
}

TEST(WndTest, LeavesNothingBehind)
{
    EXPECT_EQ(TestSupport::GrowthOf(
                  []
                  {
                      CRecorder recorder;
                      recorder.Make();
                      recorder.SetTimer(1, 1000, nullptr);
                      CRecorder refused;
                      refused.m_refused = WM_CREATE;
                      refused.Make();
                  },
                  100),
              "");
}

TEST(RegisterWndClassTest, GivesTheSameNameForTheSameLook)
{
    const LPCTSTR name = AfxRegisterWndClass(0);
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(AfxRegisterWndClass(0), name);
    WNDCLASSW wc{};
    ASSERT_TRUE(GetClassInfoW(GetModuleHandleW(nullptr), name, &wc));
    EXPECT_EQ(wc.lpfnWndProc, &AfxWndProc);
    EXPECT_EQ(wc.style, 0U);
}

TEST(RegisterWndClassTest, GivesAnotherNameForAnotherLook)
{
    const HCURSOR cursor = LoadCursorW(nullptr, IDC_ARROW);
    const auto brush = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
    const HICON icon = LoadIconW(nullptr, IDI_APPLICATION);
    const std::set<std::wstring> names = {
        AfxRegisterWndClass(0), AfxRegisterWndClass(CS_DBLCLKS), AfxRegisterWndClass(0, cursor),
        AfxRegisterWndClass(0, cursor, brush), AfxRegisterWndClass(0, cursor, brush, icon)};
    EXPECT_EQ(names.size(), 5U);
    WNDCLASSW wc{};
    ASSERT_TRUE(GetClassInfoW(GetModuleHandleW(nullptr), AfxRegisterWndClass(0, cursor, brush, icon), &wc));
    EXPECT_EQ(wc.hCursor, cursor);
    EXPECT_EQ(wc.hbrBackground, brush);
    EXPECT_EQ(wc.hIcon, icon);
}

TEST(RegisterWndClassTest, WorksOnSeveralThreadsAtOnce)
{
    const LPCTSTR name = AfxRegisterWndClass(CS_NOCLOSE);
    LPCTSTR others[4] = {};
    std::vector<std::thread> threads;
    for (auto& other : others)
    {
        threads.emplace_back([&other] { other = AfxRegisterWndClass(CS_NOCLOSE); });
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(std::count(std::begin(others), std::end(others), name), 4);
}
} // namespace

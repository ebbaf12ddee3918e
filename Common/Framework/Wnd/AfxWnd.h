// The window object. In use:
//
//     class CHidden : public CWnd { afx_msg void OnTimer(UINT_PTR nIDEvent); DECLARE_MESSAGE_MAP() };
//     CHidden wnd;
//     if (wnd.CreateEx(0, AfxRegisterWndClass(0), L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr))
//         wnd.SetTimer(1, 500, nullptr);
//     wnd.DestroyWindow();
#pragma once

#include "AfxCmdTarget.h"
#include "AfxMenu.h"

// A window and its messages. The object belongs to its window from WM_NCCREATE to WM_NCDESTROY; messages
// outside of that time go to the system's default. Called on the thread that made the window, but for
// PostMessage, SendMessage and the timers. An exception that leaves a handler ends the process.
class CWnd : public CCmdTarget
{
    DECLARE_DYNAMIC(CWnd)

public:
    CWnd() = default;
    // Destroys the window, if there still is one.
    ~CWnd() override;

    HWND m_hWnd = nullptr;

    // Null without a window. The object pointer itself must not be null.
    [[nodiscard]] HWND GetSafeHwnd() const { return m_hWnd; }

    // The object of hWnd or, if it has none on this thread, a wrapper that does not own it, good until the
    // thread's message loop is idle. Null for null.
    static CWnd* FromHandle(HWND hWnd);
    // The object of hWnd on this thread, null if it has none.
    static CWnd* FromHandlePermanent(HWND hWnd);

    // FALSE if the window could not be made; PostNcDestroy has then run, so the object may be gone.
    BOOL CreateEx(DWORD dwExStyle, LPCTSTR lpszClassName, LPCTSTR lpszWindowName, DWORD dwStyle, int x, int y,
                  int nWidth, int nHeight, HWND hWndParent, HMENU nIDorHMenu, LPVOID lpParam = nullptr);
    // Takes over a window of a foreign class, whose own procedure becomes the default one.
    BOOL SubclassWindow(HWND hWnd);

    virtual BOOL DestroyWindow() { return m_hWnd != nullptr && ::DestroyWindow(m_hWnd); }

    LRESULT SendMessage(UINT msg, WPARAM wp = 0, LPARAM lp = 0) { return ::SendMessage(m_hWnd, msg, wp, lp); }

    BOOL PostMessage(UINT msg, WPARAM wp = 0, LPARAM lp = 0) { return ::PostMessage(m_hWnd, msg, wp, lp); }

    UINT_PTR SetTimer(UINT_PTR nID, UINT nElapse, TIMERPROC pfn)
    {
        return ::SetTimer(m_hWnd, nID, nElapse, pfn);
    }

    BOOL KillTimer(UINT_PTR nIDEvent) { return ::KillTimer(m_hWnd, nIDEvent); }

    BOOL ShowWindow(int nCmdShow) { return ::ShowWindow(m_hWnd, nCmdShow); }

    BOOL SetForegroundWindow() { return ::SetForegroundWindow(m_hWnd); }

    void MoveWindow(int x, int y, int nWidth, int nHeight, BOOL bRepaint = TRUE)
    {
        ::MoveWindow(m_hWnd, x, y, nWidth, nHeight, bRepaint);
    }

    // TRUE if the style changed. Flags other than 0 go to SetWindowPos, to make the change show.
    BOOL ModifyStyleEx(DWORD dwRemove, DWORD dwAdd, UINT nFlags = 0);

    // Runs messages until EndModalLoop or the end of the window, and returns EndModalLoop's result; -1
    // without a window, at the end of the window and on WM_QUIT, which stays posted.
    int RunModalLoop();
    virtual void EndModalLoop(int nResult);

    [[nodiscard]] BOOL ContinueModal() const { return m_bContinueModal; }

protected:
    // May change how the window is about to be made. FALSE: it is not made.
    virtual BOOL PreCreateWindow(CREATESTRUCT& cs);
    virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    virtual LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    virtual BOOL OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult);
    virtual BOOL OnCommand(WPARAM wParam, LPARAM lParam);

    // After the last message, and after a creation that did not get as far: the place to delete the object.
    virtual void PostNcDestroy() {}

    // The default handling of the message that is being handled.
    LRESULT Default();

    afx_msg int OnCreate(LPCREATESTRUCT) { return static_cast<int>(Default()); }

    afx_msg void OnClose() { Default(); }

    afx_msg void OnDestroy() { Default(); }

    afx_msg void OnNcDestroy();

    afx_msg void OnPaint() { Default(); }

    afx_msg void OnTimer(UINT_PTR) { Default(); }

    afx_msg void OnSettingChange(UINT, LPCTSTR) { Default(); }

    afx_msg void OnSessionChange(UINT, UINT) { Default(); }

    afx_msg HBRUSH OnCtlColor(CDC*, CWnd*, UINT) { return reinterpret_cast<HBRUSH>(Default()); }
    DECLARE_MESSAGE_MAP()

private:
    friend LRESULT CALLBACK AfxWndProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam) noexcept;

    void Attach(HWND hWnd);
    void Detach();
    void LeaveThread();

    CWnd* m_pNext = nullptr; // Weak. The thread's next window object.
    WNDPROC m_pfnSuper = nullptr;
    BOOL m_bContinueModal = FALSE;
    int m_nModalResult = -1;
};

// The name of a window class of that look, which the first call registers. Null if the system refuses. The
// text lives as long as the process. Any thread.
LPCTSTR AfxRegisterWndClass(UINT nClassStyle, HCURSOR hCursor = nullptr, HBRUSH hbrBackground = nullptr,
                            HICON hIcon = nullptr);
LRESULT CALLBACK AfxWndProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam) noexcept;

#pragma once

#include <afxwin.h>

#include <shellapi.h>

#include <cstdint>
#include <string>
#include <vector>

// One icon in the notification area. Keeps the record that the shell is given, and with it the icon and the
// tooltip that were last asked for: a busy shell is asked again each second, and a taskbar that comes back
// gets the icon anew. Carries the clicks, the menu and the animation. Lives on the main thread; the window
// that receives its notifications must outlive it. Results are BOOL.
class CSystemTray : public CWnd
{
public:
    CSystemTray();
    ~CSystemTray() override; // takes the icon away

    CSystemTray(const CSystemTray&) = delete;
    CSystemTray& operator=(const CSystemTray&) = delete;

    // Handles one notification of the shell: the icon's id and the mouse message. 1 when it was for this
    // icon.
    virtual LRESULT OnTrayCallback(WPARAM id, LPARAM event);

    // Fills the menu that is about to be shown.
    virtual void CustomizeMenu(CMenu* pMenu);

    // Makes the own window and shows the icon, whose notifications go to the parent's window, or to the own
    // one without a parent. The tooltip is cut to 127 characters. The icon stays the caller's. FALSE if the
    // shell takes the icon neither at once nor 100 ms later.
    BOOL Create(CWnd* pParent, const std::wstring& tooltip, HICON icon);

    // Takes the icon away. TRUE also when none stands.
    BOOL RemoveIcon();

    // Both show it at once, or remember it while the icon is hidden. FALSE if the shell refuses; it is then
    // asked again each second until it accepts. The icon stays the caller's.
    BOOL SetIcon(HICON icon);
    BOOL SetTooltipText(const std::wstring& text);

    // Takes the animation's frames, which stay the caller's. FALSE, and the list is empty, without memory.
    BOOL SetIconList(const HICON* handles, UINT count);

    // Shows the frames in turn, from half a second on. FALSE if there are none.
    BOOL Animate();

    // Puts the icon back that stood before. FALSE if no animation ran.
    BOOL StopAnimation();

    // Who gets the commands. Without one the thread's main window does. Weak.
    void SetTargetWindow(CWnd* pTarget) { m_pTargetWnd = pTarget; }

    // Shows the menu at the pointer and returns when it has closed. The target may be null.
    void ShowTrayMenu(CWnd* pTarget);

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

    afx_msg void OnTimer(UINT_PTR nIDEvent);
    afx_msg void OnSettingChange(UINT uFlags, LPCTSTR lpszSection);
    afx_msg LRESULT OnTaskbarCreated(WPARAM wParam, LPARAM lParam);
    DECLARE_MESSAGE_MAP()

private:
    // A moment as a number of days; valid is false if the clock's time was none. Deliberate: nothing reads
    // it.
    struct Moment
    {
        double days = 0;
        bool valid = false;
    };

    // FALSE, and logged with the whole record, if the shell refuses. The record may be null.
    static BOOL NotifyShell(DWORD message, NOTIFYICONDATAW* data);
    static Moment Now();

    [[nodiscard]] CWnd* TargetOf(CWnd* pTarget) const;
    void SetTooltip(const std::wstring& text);
    BOOL Modify(UINT flags);
    void AddAgain();
    void RetryTrayUpdate();
    void OnAnimationTick();
    void OnClickTick();
    void OnLeftButtonUp();
    LRESULT OnDoubleClick(CWnd& target);
    void EndTimer(UINT_PTR& timer);

    NOTIFYICONDATAW m_notifyData{}; // uFlags, hIcon and szTip are rewritten per call
    BOOL m_bEnabled = FALSE;
    BOOL m_bHidden = TRUE; // by our own wish
    BOOL m_bRemoved = TRUE;
    BOOL m_bAddPending = FALSE;    // the taskbar came back and has not yet taken the icon
    BOOL m_bNt5OrLater = FALSE;    // Deliberate: nothing reads it.
    CWnd* m_pTargetWnd = nullptr;  // Weak.
    std::vector<HICON> m_iconList; // Weak.
    UINT_PTR m_uAnimationTimer = 0;
    UINT_PTR m_uClickTimer = 0;
    UINT_PTR m_uRetryTimer = 0;
    std::int64_t m_iCurrentFrame = 0; // index in m_iconList
    Moment m_animationStart;
    std::uint32_t m_uAnimationSeconds = 0; // 0 is endless
    HICON m_hSavedIcon = nullptr;          // Weak. To put back when the animation stops.
    UINT m_uDefaultItem = 0;
    BOOL m_bDefaultByPosition = TRUE; // or a command id
    UINT m_uSavedFlags = 0;           // of the first add

    static BOOL s_bDoubleClicked;
    static std::size_t s_nMaxTooltipLength;
};

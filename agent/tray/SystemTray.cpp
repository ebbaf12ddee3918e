// The icon and what the shell is told of it.
#include "SystemTray.h"

#include "AgentIds.h"
#include "VzComn_LogFront.h"
#include "resource.h"

#include <algorithm>

namespace
{

constexpr UINT_PTR retryTimer = 4569;
constexpr UINT retryMs = 1000;
constexpr UINT wholeIcon = NIF_MESSAGE | NIF_ICON | NIF_TIP;

// Broadcast when the taskbar has come back.
const UINT s_taskbarCreated = RegisterWindowMessageW(L"TaskbarCreated");

} // namespace

BOOL CSystemTray::s_bDoubleClicked = FALSE;
std::size_t CSystemTray::s_nMaxTooltipLength = 0;

BEGIN_MESSAGE_MAP(CSystemTray, CWnd)
    ON_WM_TIMER()
    ON_WM_SETTINGCHANGE()
    ON_REGISTERED_MESSAGE(s_taskbarCreated, &CSystemTray::OnTaskbarCreated)
END_MESSAGE_MAP()

CSystemTray::CSystemTray()
{
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    GetVersionExW(&version);
    m_bNt5OrLater = version.dwPlatformId == VER_PLATFORM_WIN32_NT && version.dwMajorVersion >= 5;
}

CSystemTray::~CSystemTray()
{
    EndTimer(m_uRetryTimer);
    RemoveIcon();
    CWnd::DestroyWindow();
}

BOOL CSystemTray::Create(CWnd* pParent, const std::wstring& tooltip, HICON icon)
{
    constexpr DWORD pause = 100; // milliseconds
    m_bEnabled = LOBYTE(LOWORD(GetVersion())) >= 4;
    if (!m_bEnabled)
    {
        return FALSE;
    }
    s_nMaxTooltipLength = std::size(m_notifyData.szTip);
    CreateEx(0, AfxRegisterWndClass(0), L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr);

    const HWND parent = pParent != nullptr ? pParent->GetSafeHwnd() : nullptr;
    m_notifyData.cbSize = sizeof m_notifyData;
    m_notifyData.hWnd = parent != nullptr ? parent : m_hWnd;
    m_notifyData.uID = IDR_TRAY;
    m_notifyData.hIcon = icon;
    m_notifyData.uFlags = wholeIcon;
    m_notifyData.uCallbackMessage = WindowMessage::TrayCallback;
    SetTooltip(tooltip);

    m_uSavedFlags = m_notifyData.uFlags;
    m_bHidden = FALSE;
    BOOL shown = NotifyShell(NIM_ADD, &m_notifyData);
    if (!shown)
    {
        Sleep(pause);
        shown = NotifyShell(NIM_MODIFY, &m_notifyData);
    }
    m_bHidden = m_bRemoved = m_bAddPending = !shown;
    if (!shown)
    {
        DestroyWindow();
    }
    return shown;
}

BOOL CSystemTray::RemoveIcon()
{
    m_bAddPending = FALSE;
    if (!m_bEnabled || m_bRemoved)
    {
        return TRUE;
    }
    m_notifyData.uFlags = 0;
    if (NotifyShell(NIM_DELETE, &m_notifyData))
    {
        m_bHidden = m_bRemoved = TRUE;
    }
    return m_bRemoved;
}

BOOL CSystemTray::SetIcon(HICON icon)
{
    if (!m_bEnabled)
    {
        return FALSE;
    }
    m_notifyData.hIcon = icon;
    return Modify(NIF_ICON);
}

BOOL CSystemTray::SetTooltipText(const std::wstring& text)
{
    if (!m_bEnabled)
    {
        return FALSE;
    }
    SetTooltip(text);
    return Modify(NIF_TIP);
}

void CSystemTray::SetTooltip(const std::wstring& text)
{
    const std::size_t length = std::min(text.size(), s_nMaxTooltipLength - 1);
    std::ranges::fill(m_notifyData.szTip, L'\0');
    std::copy_n(text.begin(), length, m_notifyData.szTip);
}

BOOL CSystemTray::Modify(UINT flags)
{
    m_notifyData.uFlags = flags;
    if (m_bHidden)
    {
        return TRUE;
    }
    const BOOL taken = NotifyShell(NIM_MODIFY, &m_notifyData);
    if (!taken && m_uRetryTimer == 0)
    {
        m_uRetryTimer = SetTimer(retryTimer, retryMs, nullptr);
    }
    return taken;
}

// Runs until the shell accepts, without end.
void CSystemTray::RetryTrayUpdate()
{
    m_notifyData.uFlags = NIF_ICON | NIF_TIP | NIF_STATE;
    BOOL taken = NotifyShell(NIM_MODIFY, &m_notifyData);
    if (!taken)
    {
        m_notifyData.uFlags = wholeIcon | NIF_STATE;
        taken = NotifyShell(NIM_ADD, &m_notifyData);
    }
    if (!taken)
    {
        LOG_WARN << L"explorer.exe is still busy or not running.";
        return;
    }
    LOG_WARN << L"retry to update tray state successfully.";
    EndTimer(m_uRetryTimer);
}

LRESULT CSystemTray::OnTaskbarCreated(WPARAM /*wParam*/, LPARAM /*lParam*/)
{
    LOG_WARN << L"OnTaskbarCreated";
    m_bAddPending = TRUE;
    AddAgain();
    return 0;
}

void CSystemTray::OnSettingChange(UINT uFlags, LPCTSTR lpszSection)
{
    CWnd::OnSettingChange(uFlags, lpszSection);
    if (uFlags == SPI_SETWORKAREA)
    {
        LOG_WARN << L"OnSettingChange (SPI_SETWORKAREA)";
        if (m_bAddPending)
        {
            AddAgain();
        }
    }
}

void CSystemTray::AddAgain()
{
    if (!m_bHidden)
    {
        m_notifyData.uFlags = m_uSavedFlags;
        m_bAddPending = !NotifyShell(NIM_ADD, &m_notifyData);
    }
}

void CSystemTray::EndTimer(UINT_PTR& timer)
{
    if (timer != 0)
    {
        KillTimer(timer);
        timer = 0;
    }
}

LRESULT CSystemTray::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == m_notifyData.uCallbackMessage)
    {
        return OnTrayCallback(wParam, lParam);
    }
    if (message == WM_CLOSE)
    {
        return 0; // the window lives as long as the object, whoever asks
    }
    return CWnd::WindowProc(message, wParam, lParam);
}

void CSystemTray::OnTimer(UINT_PTR nIDEvent)
{
    if (nIDEvent == 0)
    {
        return; // no timer's; a timer that does not run is kept as 0
    }
    if (nIDEvent == m_uAnimationTimer)
    {
        OnAnimationTick();
    }
    else if (nIDEvent == m_uClickTimer)
    {
        OnClickTick();
    }
    else if (nIDEvent == m_uRetryTimer)
    {
        RetryTrayUpdate();
    }
}

// What the tray icon looks like and what its tooltip says.
#include "MainFrm.h"

#include "AgentIds.h"
#include "MailHelper.h"
#include "ProfileParser.h"
#include "QxCommon_utility.h"
#include "UiLaunch.h"
#include "VzComn_LogFront.h"
#include "resource.h"

#include <algorithm>
#include <memory>
#include <new>

namespace
{

constexpr UINT scanPeriod = 1000; // milliseconds
constexpr UINT scanDone = 100;    // percent

void ReplaceAll(std::wstring& text, const std::wstring& token, const std::wstring& value)
{
    for (std::size_t at = text.find(token); at != std::wstring::npos;
         at = text.find(token, at + value.size()))
    {
        text.replace(at, token.size(), value);
    }
}

HICON LoadIconFile(const std::wstring& file)
{
    return static_cast<HICON>(LoadImageW(nullptr, file.c_str(), IMAGE_ICON, 0, 0, LR_LOADFROMFILE));
}

// Deliberate: from the registry alone, without the module's folder in its place.
std::wstring IconFolder(const IconEntry& entry)
{
    return QxCommon::GetRegistryProductPath() + L'\\' + entry.path + L'\\';
}

} // namespace

bool CMainFrame::InstallSystemTray()
{
    const HICON icon = LoadIconW(AfxGetInstanceHandle(), MAKEINTRESOURCEW(IDR_MAINFRAME));
    if (!m_bTrayInstalled)
    {
        if (!m_sysTray.Create(this, m_wstrTooltip, icon))
        {
            LOG_ERROR << L"m_sysTray.Create Failed...";
            return false;
        }
        m_bTrayInstalled = true;
    }
    m_sysTray.SetTargetWindow(this);
    return true;
}

void CMainFrame::ResolveTooltipText(UINT id)
{
    const auto& tooltips = CProfileParser::Instance().m_mapTooltips;
    const auto found = tooltips.find(id);
    if (found == tooltips.end())
    {
        return;
    }
    m_wstrTooltip = found->second.string;
    if (id == Tooltip::Scanning)
    {
        ReplaceAll(m_wstrTooltip, L"%progress%", std::to_wstring(m_uProgress) + L'%');
    }
}

bool CMainFrame::ChangeToolTip(UINT id)
{
    ResolveTooltipText(id);
    if (!m_sysTray.SetTooltipText(m_wstrTooltip))
    {
        LOG_ERROR << L"SetTooltipText failed...Tooltip = " << m_wstrTooltip;
        return false;
    }
    return true;
}

bool CMainFrame::ChangeIcon(UINT id)
{
    // Deliberate: first of all, also while an animation still shows them.
    for (HICON icon : m_vecIcons)
    {
        DestroyIcon(icon);
    }
    m_vecIcons.clear();

    if (id == Icon::Idle)
    {
        return ShowIdleIcon();
    }
    const auto& icons = CProfileParser::Instance().m_mapIcons;
    const auto found = icons.find(id);
    if (found == icons.end())
    {
        return ShowIcon(nullptr); // Deliberate: an unknown icon is none.
    }
    if (found->second.count > 1)
    {
        return ShowSeries(found->second);
    }
    // Deliberate: nobody destroys the icon of a single file.
    return ShowIcon(LoadIconFile(IconFolder(found->second) + found->second.name + L".ico"));
}

bool CMainFrame::ShowIdleIcon()
{
    const HICON icon = LoadIconW(AfxGetInstanceHandle(), MAKEINTRESOURCEW(IDR_MAINFRAME));
    if (icon == nullptr)
    {
        const DWORD error = GetLastError();
        LOG_ERROR << L"Load Icon failed... ErrorCode=" << error;
        return false;
    }
    return ShowIcon(icon);
}

bool CMainFrame::ShowIcon(HICON icon)
{
    if (!m_sysTray.SetIcon(icon))
    {
        LOG_ERROR << L"Set tray icon failed...";
        return false;
    }
    return true;
}

// Deliberate: the stored count is beyond the number of files, so that the series ends in a failure unless
// the profile's number makes up for it.
bool CMainFrame::ShowSeries(const IconEntry& entry)
{
    const std::wstring series = IconFolder(entry) + entry.name;
    for (UINT number = 1; number <= entry.count; ++number)
    {
        const HICON icon = LoadIconFile(series + std::to_wstring(number) + L".ico");
        if (icon == nullptr)
        {
            LOG_ERROR << L"Load Image failed...";
            return false;
        }
        m_vecIcons.push_back(icon);
    }
    if (!AnimateIconList(static_cast<UINT>(m_vecIcons.size())))
    {
        LOG_ERROR << L"Animate tray icon failed...";
        return false;
    }
    return true;
}

bool CMainFrame::AnimateIconList(UINT count)
{
    const std::unique_ptr<HICON[]> icons(new (std::nothrow) HICON[count]{});
    if (!icons)
    {
        LOG_ERROR << L"ALLOC MEMORY FAILURE...";
        return true; // Deliberate: the icon stays as it was, which is no failure.
    }
    std::copy_n(m_vecIcons.begin(), std::min<std::size_t>(count, m_vecIcons.size()), icons.get());
    if (!m_sysTray.SetIconList(icons.get(), count))
    {
        LOG_ERROR << L"m_sysTray.SetIconList Failed...";
        return false;
    }
    if (!m_sysTray.Animate())
    {
        LOG_ERROR << L"m_sysTray.Animate FAILED";
        return false;
    }
    return true;
}

void CMainFrame::OnStartScan()
{
    if (!SendMailForStartScan())
    {
        LOG_ERROR << L"Start Scan failed...";
        return;
    }
    if (!ChangeIcon(Icon::Scanning))
    {
        LOG_ERROR << L"Change tray icon failed...";
        return;
    }
    SetTimer(FrameTimer::Scan, scanPeriod, nullptr);
}

bool CMainFrame::OnScanTick()
{
    if (!SendMailForGetResult())
    {
        LOG_ERROR << L"Get scanning result failed...";
        return false;
    }
    if (!ChangeToolTip(Tooltip::Scanning))
    {
        LOG_ERROR << L"Show tooltip failed...";
        return false;
    }
    if (m_uProgress == scanDone)
    {
        PostScan();
        KillTimer(FrameTimer::Scan);
    }
    return true;
}

void CMainFrame::PostScan()
{
    if (!m_sysTray.StopAnimation())
    {
        LOG_ERROR << L"Stop animation failed...";
        return;
    }
    if (!ChangeIcon(Icon::Idle))
    {
        LOG_ERROR << L"Change tray icon failed...";
        return;
    }
    if (!ChangeToolTip(Tooltip::Idle))
    {
        LOG_ERROR << L"Show tooltip failed...";
        return;
    }
    if (Status::Failed(ShowQxUi(L"-p \"MainConsole\" 0 \"{}\"")))
    {
        LOG_ERROR << L"Show Popup failed...";
    }
}

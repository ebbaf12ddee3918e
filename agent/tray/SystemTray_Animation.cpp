// The icon's animation.
#include "SystemTray.h"

#include <oleauto.h>

#include <new>

namespace
{

constexpr UINT_PTR animationTimer = 4567;
constexpr UINT frameMs = 500;
constexpr double secondsOfDay = 86400.0;
constexpr double halfSecond = 0.5 / secondsOfDay; // in days

} // namespace

CSystemTray::Moment CSystemTray::Now()
{
    SYSTEMTIME time{};
    GetLocalTime(&time);
    Moment moment;
    moment.valid = SystemTimeToVariantTime(&time, &moment.days) != FALSE;
    return moment;
}

BOOL CSystemTray::SetIconList(const HICON* handles, UINT count)
{
    m_iconList.clear();
    try
    {
        m_iconList.assign(handles, handles + count);
    }
    catch (const std::bad_alloc&)
    {
        return FALSE;
    }
    return TRUE;
}

BOOL CSystemTray::Animate()
{
    if (m_iconList.empty())
    {
        return FALSE;
    }
    StopAnimation();
    m_iCurrentFrame = 0;
    m_animationStart = Now();
    m_uAnimationSeconds = 0xFFFFFFFF;
    m_hSavedIcon = m_bEnabled ? m_notifyData.hIcon : nullptr;
    m_uAnimationTimer = SetTimer(animationTimer, frameMs, nullptr);
    return m_uAnimationTimer != 0;
}

BOOL CSystemTray::StopAnimation()
{
    BOOL stopped = FALSE;
    if (m_uAnimationTimer != 0)
    {
        stopped = KillTimer(m_uAnimationTimer);
        m_uAnimationTimer = 0;
    }
    if (m_hSavedIcon != nullptr)
    {
        SetIcon(m_hSavedIcon);
    }
    m_hSavedIcon = nullptr;
    return stopped;
}

// The first frame shows at the end of the list's first turn.
void CSystemTray::OnAnimationTick()
{
    const double elapsed = Now().days - m_animationStart.days;
    const double rounded = elapsed + (elapsed < 0 ? -halfSecond : halfSecond);
    const auto seconds = static_cast<std::int64_t>(rounded * secondsOfDay);
    if (m_uAnimationSeconds != 0 && seconds > std::int64_t{m_uAnimationSeconds})
    {
        StopAnimation();
        return;
    }
    if (m_iconList.empty())
    {
        return;
    }
    m_iCurrentFrame = (m_iCurrentFrame + 1) % static_cast<std::int64_t>(m_iconList.size());
    SetIcon(m_iconList[static_cast<std::size_t>(m_iCurrentFrame)]);
}

#include "AfxCmdTarget.h"

#include "AfxWnd.h"

namespace
{
constexpr UINT firstRegisteredMessage = 0xC000;

bool Matches(const AFX_MSGMAP_ENTRY& entry, UINT nMsg, int nCode, UINT nID)
{
    if (entry.pnRegistered != nullptr)
    {
        return nMsg >= firstRegisteredMessage && nMsg == *entry.pnRegistered;
    }
    return entry.nMessage == nMsg && entry.nCode == nCode && entry.nID == nID;
}
} // namespace

IMPLEMENT_DYNAMIC(CCmdTarget, CObject)

const AFX_MSGMAP_ENTRY* AfxFindMessageEntry(const AFX_MSGMAP* pMap, UINT nMsg, int nCode, UINT nID)
{
    while (pMap != nullptr)
    {
        for (const auto* pEntry = pMap->lpEntries; pEntry->pfn != nullptr; ++pEntry)
        {
            if (Matches(*pEntry, nMsg, nCode, nID))
            {
                return pEntry;
            }
        }
        pMap = pMap->pfnGetBaseMap != nullptr ? pMap->pfnGetBaseMap() : nullptr;
    }
    return nullptr;
}

const AFX_MSGMAP* CCmdTarget::GetThisMessageMap()
{
    static const AFX_MSGMAP_ENTRY end{};
    static const AFX_MSGMAP messageMap = {nullptr, &end};
    return &messageMap;
}

const AFX_MSGMAP* CCmdTarget::GetMessageMap() const
{
    return GetThisMessageMap();
}

BOOL CCmdTarget::OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo)
{
    const auto* const pEntry = AfxFindMessageEntry(GetMessageMap(), WM_COMMAND, nCode, nID);
    if (pEntry == nullptr)
    {
        return FALSE;
    }
    if (pHandlerInfo != nullptr)
    {
        *pHandlerInfo = {this, pEntry->pfn};
        return TRUE;
    }
    auto* const pCmdUI = nCode == CN_UPDATE_COMMAND_UI ? static_cast<CCmdUI*>(pExtra) : nullptr;
    if (pCmdUI != nullptr)
    {
        pCmdUI->m_bContinueRouting = FALSE;
    }
    pEntry->pfn(this, {nullptr, WM_COMMAND, nID, reinterpret_cast<LPARAM>(pCmdUI), 0, {}});
    return pCmdUI == nullptr || !pCmdUI->m_bContinueRouting;
}

void CCmdUI::Enable(BOOL bOn)
{
    if (m_pMenu != nullptr)
    {
        if (m_pSubMenu != nullptr)
        {
            return;
        }
        m_pMenu->EnableMenuItem(m_nIndex, MF_BYPOSITION | (bOn ? MF_ENABLED : MF_GRAYED));
    }
    else if (m_pOther != nullptr)
    {
        ::EnableWindow(m_pOther->m_hWnd, bOn);
    }
    m_bEnableChanged = TRUE;
}

void CCmdUI::SetCheck(int nCheck)
{
    if (m_pMenu != nullptr)
    {
        if (m_pSubMenu == nullptr)
        {
            m_pMenu->CheckMenuItem(m_nIndex, MF_BYPOSITION | (nCheck != 0 ? MF_CHECKED : MF_UNCHECKED));
        }
    }
    else if (m_pOther != nullptr)
    {
        m_pOther->SendMessage(BM_SETCHECK, static_cast<WPARAM>(nCheck));
    }
}

BOOL CCmdUI::DoUpdate(CCmdTarget* pTarget, BOOL bDisableIfNoHndler)
{
    if (m_nID == 0 || LOWORD(m_nID) == 0xFFFF)
    {
        return TRUE;
    }
    m_bEnableChanged = FALSE;
    const BOOL bHandled = pTarget->OnCmdMsg(m_nID, CN_UPDATE_COMMAND_UI, this, nullptr);
    if (bDisableIfNoHndler && !m_bEnableChanged)
    {
        AFX_CMDHANDLERINFO info{};
        Enable(pTarget->OnCmdMsg(m_nID, CN_COMMAND, this, &info));
    }
    return bHandled;
}

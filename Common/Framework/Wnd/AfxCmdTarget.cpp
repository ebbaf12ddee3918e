#include "AfxCmdTarget.h"

#include "AfxMenu.h"

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

CRuntimeClass CObject::classCObject = {"CObject", static_cast<int>(sizeof(CObject)), nullptr};
IMPLEMENT_DYNAMIC(CCmdTarget, CObject)

BOOL CRuntimeClass::IsDerivedFrom(const CRuntimeClass* pBaseClass) const
{
    const auto* pClass = this;
    while (pClass != nullptr && pClass != pBaseClass)
    {
        pClass = pClass->m_pBaseClass;
    }
    return pClass != nullptr;
}

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

BOOL CCmdTarget::OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo)
{
    const auto* const pEntry = AfxFindMessageEntry(GetMessageMap(), WM_COMMAND, nCode, nID);
    if (pEntry != nullptr && pHandlerInfo != nullptr)
    {
        *pHandlerInfo = {this, pEntry->pfn};
    }
    else if (pEntry != nullptr)
    {
        pEntry->pfn(this, {nullptr, WM_COMMAND, nID, reinterpret_cast<LPARAM>(pExtra), 0, {}});
    }
    return pEntry != nullptr;
}

void CCmdUI::Enable(BOOL bOn)
{
    if (m_pSubMenu == nullptr)
    {
        if (m_pMenu != nullptr)
        {
            m_pMenu->EnableMenuItem(m_nIndex, MF_BYPOSITION | (bOn ? MF_ENABLED : MF_GRAYED));
        }
        m_bEnableChanged = TRUE;
    }
}

void CCmdUI::SetCheck(int nCheck)
{
    if (m_pMenu != nullptr && m_pSubMenu == nullptr)
    {
        m_pMenu->CheckMenuItem(m_nIndex, MF_BYPOSITION | (nCheck != 0 ? MF_CHECKED : MF_UNCHECKED));
    }
}

BOOL CCmdUI::DoUpdate(CCmdTarget* pTarget, BOOL bDisableIfNoHndler)
{
    m_bEnableChanged = FALSE;
    const BOOL bHandled = pTarget->OnCmdMsg(m_nID, CN_UPDATE_COMMAND_UI, this, nullptr);
    if (bDisableIfNoHndler && !m_bEnableChanged)
    {
        AFX_CMDHANDLERINFO info{};
        Enable(pTarget->OnCmdMsg(m_nID, CN_COMMAND, this, &info));
    }
    return bHandled;
}

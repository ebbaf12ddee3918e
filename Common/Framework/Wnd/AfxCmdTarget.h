// Message maps and the routing of commands. In use:
//
//     BEGIN_MESSAGE_MAP(CPanel, CCmdTarget)
//         ON_COMMAND(ID_OPEN, &CPanel::OnOpen)
//         ON_UPDATE_COMMAND_UI(ID_OPEN, &CPanel::OnUpdateOpen)
//     END_MESSAGE_MAP()
//     BOOL bHandled = panel.OnCmdMsg(ID_OPEN, CN_COMMAND, nullptr, nullptr);
#pragma once

#include "afx.h"

class CCmdTarget;
class CCmdUI;
class CMenu;
class CWnd;

inline constexpr int CN_COMMAND = 0;
inline constexpr int CN_UPDATE_COMMAND_UI = -1;

// Unpacks a message into the call of one handler. For the two command forms wParam is the command id and
// lParam the CCmdUI.
using AFX_PMSG = LRESULT (*)(CCmdTarget* pTarget, const MSG& msg);

struct AFX_MSGMAP_ENTRY
{
    UINT nMessage;            // 0 for a registered message
    int nCode;                // of a command
    UINT nID;                 // of a command
    const UINT* pnRegistered; // where the number of a registered message stands
    AFX_PMSG pfn;             // null ends the table
};

struct AFX_MSGMAP
{
    const AFX_MSGMAP* (*pfnGetBaseMap)(); // null in the root
    const AFX_MSGMAP_ENTRY* lpEntries;
};

// The row that a message or a command leads to, in pMap or the nearest base. Null if there is none.
const AFX_MSGMAP_ENTRY* AfxFindMessageEntry(const AFX_MSGMAP* pMap, UINT nMsg, int nCode = 0, UINT nID = 0);

// Who would handle a command: the answer to a question that runs nothing.
struct AFX_CMDHANDLERINFO
{
    CCmdTarget* pTarget;
    AFX_PMSG pmf;
};

// An object that messages and commands can be mapped to.
class CCmdTarget : public CObject
{
    DECLARE_DYNAMIC(CCmdTarget)

public:
    // TRUE if this object handled the command. In the form CN_UPDATE_COMMAND_UI pExtra is the CCmdUI. With
    // pHandlerInfo nothing runs: TRUE then says that there is a handler, which *pHandlerInfo names.
    virtual BOOL OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo);

protected:
    CCmdTarget() = default;

    static const AFX_MSGMAP* GetThisMessageMap();
    [[nodiscard]] virtual const AFX_MSGMAP* GetMessageMap() const;
};

// One menu entry or control whose state a handler is asked for; lives for the time of the question.
class CCmdUI
{
public:
    CCmdUI() = default;
    virtual ~CCmdUI() = default;
    CCmdUI(const CCmdUI&) = delete;
    CCmdUI& operator=(const CCmdUI&) = delete;

    UINT m_nID = 0;
    UINT m_nIndex = 0;           // position in m_pMenu
    UINT m_nIndexMax = 0;        // number of entries of m_pMenu
    CMenu* m_pMenu = nullptr;    // Weak. Null for a control.
    CMenu* m_pSubMenu = nullptr; // Weak. Set if the entry opens a popup; m_nID is then the popup's first.
    CWnd* m_pOther = nullptr;    // Weak. The control, if it is none of a menu.

    // A popup's own entry is left as it is, and so is its check mark.
    virtual void Enable(BOOL bOn = TRUE);
    virtual void SetCheck(int nCheck = 1);

    // Lets the next target be asked too.
    void ContinueRouting() { m_bContinueRouting = TRUE; }

    // Asks pTarget. If nobody enabled the entry and bDisableIfNoHndler is set, greys it unless somebody would
    // handle the command. TRUE if the question was handled.
    BOOL DoUpdate(CCmdTarget* pTarget, BOOL bDisableIfNoHndler);

    BOOL m_bEnableChanged = FALSE;
    BOOL m_bContinueRouting = FALSE;
};

#include "AfxMessageMap.h"

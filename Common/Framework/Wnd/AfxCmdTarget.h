// Message maps and the routing of commands. In use:
//
//     BEGIN_MESSAGE_MAP(CPanel, CWnd)
//         ON_WM_TIMER()
//         ON_MESSAGE(WM_APP + 10, &CPanel::OnTrayCallback)
//         ON_COMMAND(ID_OPEN, &CPanel::OnOpen)
//     END_MESSAGE_MAP()
#pragma once

#include "afx.h"

class CCmdTarget;
class CMenu;

inline constexpr int CN_COMMAND = 0;
inline constexpr int CN_UPDATE_COMMAND_UI = -1;

#ifndef WM_CTLCOLOR
#define WM_CTLCOLOR 0x0019 // stands in the maps for WM_CTLCOLORMSGBOX to WM_CTLCOLORSTATIC
#endif

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
    static const AFX_MSGMAP* GetThisMessageMap();

    [[nodiscard]] virtual const AFX_MSGMAP* GetMessageMap() const { return GetThisMessageMap(); }
};

// One menu entry whose state a handler is asked for; lives for the time of the question.
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
    CMenu* m_pMenu = nullptr;    // Weak. Null if only the command itself is asked for.
    CMenu* m_pSubMenu = nullptr; // Weak. Set if the entry opens a popup; m_nID is then the popup's first.
    BOOL m_bEnableChanged = FALSE;

    // Both leave an entry that opens a popup as it is.
    virtual void Enable(BOOL bOn = TRUE);
    virtual void SetCheck(int nCheck = 1);

    // Asks pTarget. If nobody called Enable and bDisableIfNoHndler is set, greys the entry unless somebody
    // would handle the command. TRUE if the question was handled.
    BOOL DoUpdate(CCmdTarget* pTarget, BOOL bDisableIfNoHndler);
};

#define DECLARE_MESSAGE_MAP()                                                                                \
protected:                                                                                                   \
    static const AFX_MSGMAP* GetThisMessageMap();                                                            \
    const AFX_MSGMAP* GetMessageMap() const override;

#define BEGIN_MESSAGE_MAP(theClass, baseClass)                                                               \
    const AFX_MSGMAP* theClass::GetMessageMap() const                                                        \
    {                                                                                                        \
        return GetThisMessageMap();                                                                          \
    }                                                                                                        \
    const AFX_MSGMAP* theClass::GetThisMessageMap()                                                          \
    {                                                                                                        \
        using ThisClass [[maybe_unused]] = theClass;                                                         \
        using TheBaseClass = baseClass;                                                                      \
        static const AFX_MSGMAP_ENTRY _messageEntries[] = {

#define END_MESSAGE_MAP()                                                                                    \
    AFX_MSGMAP_ENTRY {}                                                                                      \
    }                                                                                                        \
    ;                                                                                                        \
    static const AFX_MSGMAP messageMap = {&TheBaseClass::GetThisMessageMap, _messageEntries};                \
    return &messageMap;                                                                                      \
    }

// A row whose handler is called by the given statements. They are compiled inside a member of the class that
// the map belongs to, so handlers may be private, and a handler of another form does not compile.
#define AFX_MAP_ROW(message, code, id, registered, ...)                                                      \
    {message, code, id, registered,                                                                          \
     [](CCmdTarget* pTarget, [[maybe_unused]] const MSG& msg) -> LRESULT                                     \
     {                                                                                                       \
         auto& target = static_cast<ThisClass&>(*pTarget);                                                   \
         __VA_ARGS__                                                                                         \
     }},
#define AFX_WM_ROW(message, ...) AFX_MAP_ROW(message, 0, 0, nullptr, __VA_ARGS__)
#define AFX_WM_CALL(message, ...) AFX_WM_ROW(message, target.__VA_ARGS__; return 0;)

#define ON_COMMAND(id, memberFxn)                                                                            \
    AFX_MAP_ROW(WM_COMMAND, CN_COMMAND, id, nullptr, (target.*(memberFxn))(); return TRUE;)
#define ON_UPDATE_COMMAND_UI(id, memberFxn)                                                                  \
    AFX_MAP_ROW(WM_COMMAND, CN_UPDATE_COMMAND_UI, id, nullptr,                                               \
                (target.*(memberFxn))(reinterpret_cast<CCmdUI*>(msg.lParam));                                \
                return TRUE;)
#define ON_MESSAGE(message, memberFxn)                                                                       \
    AFX_WM_ROW(message, return (target.*(memberFxn))(msg.wParam, msg.lParam);)
#define ON_REGISTERED_MESSAGE(nMessageVariable, memberFxn)                                                   \
    AFX_MAP_ROW(0, 0, 0, &(nMessageVariable), return (target.*(memberFxn))(msg.wParam, msg.lParam);)

#define ON_WM_CREATE()                                                                                       \
    AFX_WM_ROW(WM_CREATE, return target.OnCreate(reinterpret_cast<LPCREATESTRUCT>(msg.lParam));)
#define ON_WM_CLOSE() AFX_WM_CALL(WM_CLOSE, OnClose())
#define ON_WM_DESTROY() AFX_WM_CALL(WM_DESTROY, OnDestroy())
#define ON_WM_NCDESTROY() AFX_WM_CALL(WM_NCDESTROY, OnNcDestroy())
#define ON_WM_PAINT() AFX_WM_CALL(WM_PAINT, OnPaint())
#define ON_WM_TIMER() AFX_WM_CALL(WM_TIMER, OnTimer(msg.wParam))
#define ON_WM_SETTINGCHANGE()                                                                                \
    AFX_WM_CALL(WM_SETTINGCHANGE,                                                                            \
                OnSettingChange(static_cast<UINT>(msg.wParam), reinterpret_cast<LPCTSTR>(msg.lParam)))
#define ON_WM_WTSSESSION_CHANGE()                                                                            \
    AFX_WM_CALL(WM_WTSSESSION_CHANGE,                                                                        \
                OnSessionChange(static_cast<UINT>(msg.wParam), static_cast<UINT>(msg.lParam)))
#define ON_WM_CTLCOLOR()                                                                                     \
    AFX_WM_ROW(WM_CTLCOLOR,                                                                                  \
               return reinterpret_cast<LRESULT>(target.OnCtlColor(                                           \
                   CDC::FromHandle(reinterpret_cast<HDC>(msg.wParam)),                                       \
                   CWnd::FromHandle(reinterpret_cast<HWND>(msg.lParam)), msg.message - WM_CTLCOLORMSGBOX));)
#define ON_WM_INITMENUPOPUP()                                                                                \
    AFX_WM_CALL(WM_INITMENUPOPUP, OnInitMenuPopup(CMenu::FromHandle(reinterpret_cast<HMENU>(msg.wParam)),    \
                                                  LOWORD(msg.lParam), HIWORD(msg.lParam)))
#define ON_WM_QUERYENDSESSION() AFX_WM_ROW(WM_QUERYENDSESSION, return target.OnQueryEndSession();)
#define ON_WM_ENDSESSION() AFX_WM_CALL(WM_ENDSESSION, OnEndSession(static_cast<BOOL>(msg.wParam)))

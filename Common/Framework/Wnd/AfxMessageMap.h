// The spelling of message maps; AfxCmdTarget.h includes it. In use:
//
//     BEGIN_MESSAGE_MAP(CPanel, CWnd)
//         ON_WM_TIMER()
//         ON_MESSAGE(WM_APP + 10, &CPanel::OnTrayCallback)
//         ON_REGISTERED_MESSAGE(s_uTaskbarCreated, &CPanel::OnTaskbarCreated)
//     END_MESSAGE_MAP()
#pragma once

#ifndef WM_CTLCOLOR
#define WM_CTLCOLOR 0x0019 // stands in the maps for WM_CTLCOLORMSGBOX to WM_CTLCOLORSTATIC
#endif

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

// int OnCreate(LPCREATESTRUCT lpCreateStruct)
#define ON_WM_CREATE()                                                                                       \
    AFX_WM_ROW(WM_CREATE, return target.OnCreate(reinterpret_cast<LPCREATESTRUCT>(msg.lParam));)
// void OnClose()
#define ON_WM_CLOSE() AFX_WM_ROW(WM_CLOSE, target.OnClose(); return 0;)
// void OnDestroy()
#define ON_WM_DESTROY() AFX_WM_ROW(WM_DESTROY, target.OnDestroy(); return 0;)
// void OnNcDestroy()
#define ON_WM_NCDESTROY() AFX_WM_ROW(WM_NCDESTROY, target.OnNcDestroy(); return 0;)
// void OnPaint()
#define ON_WM_PAINT() AFX_WM_ROW(WM_PAINT, target.OnPaint(); return 0;)
// void OnTimer(UINT_PTR nIDEvent)
#define ON_WM_TIMER() AFX_WM_ROW(WM_TIMER, target.OnTimer(static_cast<UINT_PTR>(msg.wParam)); return 0;)
// void OnSettingChange(UINT uFlags, LPCTSTR lpszSection)
#define ON_WM_SETTINGCHANGE()                                                                                \
    AFX_WM_ROW(WM_SETTINGCHANGE,                                                                             \
               target.OnSettingChange(static_cast<UINT>(msg.wParam), reinterpret_cast<LPCTSTR>(msg.lParam)); \
               return 0;)
// void OnSessionChange(UINT nSessionState, UINT nId)
#define ON_WM_WTSSESSION_CHANGE()                                                                            \
    AFX_WM_ROW(WM_WTSSESSION_CHANGE,                                                                         \
               target.OnSessionChange(static_cast<UINT>(msg.wParam), static_cast<UINT>(msg.lParam));         \
               return 0;)
// UINT OnPowerBroadcast(UINT nPowerEvent, LPARAM nEventData)
#define ON_WM_POWERBROADCAST()                                                                               \
    AFX_WM_ROW(WM_POWERBROADCAST, return static_cast<LRESULT>(                                               \
                                      target.OnPowerBroadcast(static_cast<UINT>(msg.wParam), msg.lParam));)
// HBRUSH OnCtlColor(CDC* pDC, CWnd* pWnd, UINT nCtlColor)
#define ON_WM_CTLCOLOR()                                                                                     \
    AFX_WM_ROW(WM_CTLCOLOR,                                                                                  \
               return reinterpret_cast<LRESULT>(target.OnCtlColor(                                           \
                   CDC::FromHandle(reinterpret_cast<HDC>(msg.wParam)),                                       \
                   CWnd::FromHandle(reinterpret_cast<HWND>(msg.lParam)), msg.message - WM_CTLCOLORMSGBOX));)
// void OnInitMenuPopup(CMenu* pPopupMenu, UINT nIndex, BOOL bSysMenu)
#define ON_WM_INITMENUPOPUP()                                                                                \
    AFX_WM_ROW(WM_INITMENUPOPUP,                                                                             \
               target.OnInitMenuPopup(CMenu::FromHandle(reinterpret_cast<HMENU>(msg.wParam)),                \
                                      LOWORD(msg.lParam), HIWORD(msg.lParam));                               \
               return 0;)
// BOOL OnQueryEndSession()
#define ON_WM_QUERYENDSESSION() AFX_WM_ROW(WM_QUERYENDSESSION, return target.OnQueryEndSession();)
// void OnEndSession(BOOL bEnding)
#define ON_WM_ENDSESSION()                                                                                   \
    AFX_WM_ROW(WM_ENDSESSION, target.OnEndSession(static_cast<BOOL>(msg.wParam)); return 0;)

#pragma once

#include <afxwin.h>

// The notification-area icon of the session. Lives on the main thread; the window that receives its
// notifications must outlive it.
class CSystemTray : public CWnd
{
public:
    // Handles one notification of the shell: the icon's id and the mouse message. 1 when it was for this
    // icon.
    virtual LRESULT OnTrayCallback(WPARAM id, LPARAM event);

    // Takes the icon away. True also when none stands.
    [[nodiscard]] BOOL RemoveIcon();
};

// The icon with the menu that the profile describes.
class CVzSysTray : public CSystemTray
{
};

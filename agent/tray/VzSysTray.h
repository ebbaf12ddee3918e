#pragma once

#include "SystemTray.h"

// The icon with the menu that the profile describes.
class CVzSysTray : public CSystemTray
{
public:
    void CustomizeMenu(CMenu* pMenu) override;
};

#include "VzSysTray.h"

LRESULT CSystemTray::OnTrayCallback(WPARAM /*id*/, LPARAM /*event*/)
{
    return 1;
}

BOOL CSystemTray::RemoveIcon()
{
    return TRUE;
}

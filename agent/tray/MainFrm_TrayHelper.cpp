// What the tray icon looks like and what its tooltip says.
#include "MainFrm.h"

bool CMainFrame::InstallSystemTray()
{
    return true;
}

void CMainFrame::ResolveTooltipText(UINT /*id*/) {}

bool CMainFrame::OnScanTick()
{
    return true;
}

void CMainFrame::OnStartScan() {}

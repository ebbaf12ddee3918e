// COM for the main thread. In use:
//
//     if (!AfxOleInit())  // first thing in InitInstance
//         return FALSE;
//     AfxEnableControlContainer();
//     ...
//     AfxOleTerm(FALSE);  // last thing in ExitInstance
#pragma once

#include "afx.h"

class COccManager;

// Readies COM, single-threaded, for this thread; repeated calls count once. FALSE if the system refused.
BOOL AfxOleInit();
// Takes AfxOleInit back. Without it, or with bJustRevoke, does nothing.
void AfxOleTerm(BOOL bJustRevoke = FALSE);
// Nothing to do: no window here hosts a control.
void AfxEnableControlContainer(COccManager* pOccManager = nullptr);

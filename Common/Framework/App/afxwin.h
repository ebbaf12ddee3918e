// Everything of the framework that a program with windows needs. In use:
//
//     #include <afxwin.h>
//     class CTrayApp : public CWinApp { BOOL InitInstance() override; };
//     CTrayApp theApp;
//     BOOL CTrayApp::InitInstance() { auto* pFrame = new CFrameWnd; m_pMainWnd = pFrame;
//                                     return pFrame->LoadFrame(IDR_MAINFRAME); }
#pragma once

#include "AfxApp.h"
#include "AfxDialog.h"
#include "AfxFrameWnd.h"
#include "AfxMenu.h"
#include "AfxThread.h"
#include "AfxWnd.h"
#include "afx.h"

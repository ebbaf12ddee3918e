// The modeless dialog. In use:
//
//     class CSplash : public CDialogEx { BOOL OnInitDialog() override; };
//     auto pSplash = std::make_unique<CSplash>();
//     pSplash->Create(IDD_SPLASH, nullptr);
//     pSplash->RunModalLoop();  // until somebody sends WM_CLOSE
//     pSplash.reset();          // takes the window along
#pragma once

#include "AfxWnd.h"

// A window made from a dialog template. Any thread can have one.
class CDialog : public CWnd
{
    DECLARE_DYNAMIC(CDialog)

public:
    // FALSE if there is no such template or the system refused. Without a parent the main window of the
    // thread is the owner.
    virtual BOOL Create(UINT nIDTemplate, CWnd* pParentWnd = nullptr);
    // Ends a modal loop with that result and hides the window; does not destroy it.
    void EndDialog(int nResult);

    // The controls are there, nothing is shown yet. TRUE lets the system set the focus.
    virtual BOOL OnInitDialog() { return TRUE; }

protected:
    CDialog() = default;

    virtual void OnOK() { EndDialog(IDOK); }

    virtual void OnCancel() { EndDialog(IDCANCEL); }
    DECLARE_MESSAGE_MAP()
};

// The class that programs derive from.
class CDialogEx : public CDialog
{
    DECLARE_DYNAMIC(CDialogEx)
};

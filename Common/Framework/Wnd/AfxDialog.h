// The modeless dialog. In use:
//
//     class CNotice : public CDialog { BOOL OnInitDialog() override; };
//     CNotice dlg;
//     dlg.Create(IDD_NOTICE);
//     dlg.ShowWindow(SW_SHOWNORMAL);
//     int nResult = dlg.RunModalLoop();  // IDCANCEL once somebody sent WM_CLOSE
#pragma once

#include "AfxWnd.h"

// A window made from a dialog template. Any thread can have one; the object must outlive the window or
// destroys it in its destructor.
class CDialog : public CWnd
{
    DECLARE_DYNAMIC(CDialog)

public:
    // FALSE if there is no such template or the system refused.
    virtual BOOL Create(UINT nIDTemplate, CWnd* pParentWnd = nullptr);
    // Ends a modal loop with that result and hides the window; does not destroy it.
    void EndDialog(int nResult);

    // The controls are there, nothing is shown yet. TRUE lets the system set the focus.
    virtual BOOL OnInitDialog();
    BOOL PreTranslateMessage(MSG* pMsg) override;

protected:
    CDialog() = default;

    virtual void OnOK();
    virtual void OnCancel();

    DECLARE_MESSAGE_MAP()
};

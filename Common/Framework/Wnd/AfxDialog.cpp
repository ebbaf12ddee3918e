#include "afxdialogex.h"

#include "AfxState.h"

#include <utility>

namespace
{
// The system's dialog class calls this before it acts. The first message of a dialog is where the object
// takes its window over; from then on messages come by way of the object.
INT_PTR CALLBACK AfxDlgProc(HWND hWnd, UINT message, WPARAM, LPARAM) noexcept
{
    if (auto* const pWndInit = std::exchange(AfxGetThreadState()->pWndInit, nullptr))
    {
        pWndInit->SubclassWindow(hWnd);
    }
    auto* const pDlg = dynamic_cast<CDialog*>(CWnd::FromHandlePermanent(hWnd));
    return message == WM_INITDIALOG && pDlg != nullptr && pDlg->OnInitDialog();
}
} // namespace

IMPLEMENT_DYNAMIC(CDialog, CWnd)
IMPLEMENT_DYNAMIC(CDialogEx, CDialog)

BEGIN_MESSAGE_MAP(CDialog, CWnd)
    ON_COMMAND(IDOK, &CDialog::OnOK)
    ON_COMMAND(IDCANCEL, &CDialog::OnCancel)
END_MESSAGE_MAP()

BOOL CDialog::Create(UINT nIDTemplate, CWnd* pParentWnd)
{
    const auto* const pParent = pParentWnd != nullptr ? pParentWnd : AfxGetMainWnd();
    auto* const pState = AfxGetThreadState();
    pState->pWndInit = this;
    const HWND hWnd = ::CreateDialog(AfxGetInstanceHandle(), MAKEINTRESOURCE(nIDTemplate),
                                     pParent != nullptr ? pParent->m_hWnd : nullptr, &AfxDlgProc);
    if (std::exchange(pState->pWndInit, nullptr) != nullptr)
    {
        PostNcDestroy();
    }
    return hWnd != nullptr;
}

void CDialog::EndDialog(int nResult)
{
    if (ContinueModal())
    {
        EndModalLoop(nResult);
    }
    ::EndDialog(m_hWnd, nResult);
}

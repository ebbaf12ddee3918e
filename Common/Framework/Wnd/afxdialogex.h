// The dialog class that programs derive from. In use:
//
//     class CSplash : public CDialogEx { BOOL OnInitDialog() override; };
//     auto pSplash = std::make_unique<CSplash>();
//     pSplash->Create(IDD_SPLASH, nullptr);
//     pSplash->RunModalLoop();
//     pSplash.reset();  // takes the window along
#pragma once

#include "AfxDialog.h"

// A dialog without the colours and pictures that this class can have elsewhere.
class CDialogEx : public CDialog
{
    DECLARE_DYNAMIC(CDialogEx)

public:
    CDialogEx() = default;
};

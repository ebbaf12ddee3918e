#pragma once

#include <afxdialogex.h>

#include <string>

#include "SplashPicture.h"

namespace QxCommon
{
class JsonDb;
}

// The start-up picture: a window without a frame, composed once when its dialog is made from images and one
// line of text in the user's language. What cannot be had is missing from the picture, and nothing is
// reported. Lives on the thread that makes it, which runs its modal loop until WM_CLOSE.
class CSplash : public CDialogEx
{
public:
    CSplash() = default;
    ~CSplash() override;

    BOOL Create(UINT nIDTemplate, CWnd* pParentWnd = nullptr) override;
    BOOL OnInitDialog() override;

    // Reads an image in the user's language or, where that has no such file, in English. True if there was a
    // file; one that is no image leaves image null. Throws std::bad_alloc.
    static bool LoadSplashImage(const std::wstring& fileName, Gdiplus::GpImage*& image);

    // Reads the texts in the user's language or, where that has no file, in English. Throws std::bad_alloc.
    static void LoadSplashStrings(QxCommon::JsonDb& table);

protected:
    afx_msg void OnPaint() { CDialogEx::OnPaint(); }

    afx_msg HBRUSH OnCtlColor(CDC* pDC, CWnd* pWnd, UINT nCtlColor);
    DECLARE_MESSAGE_MAP()

private:
    void Compose(HDC hWindowDC, POINT corner);
    void ShowPicture(HDC hWindowDC, POINT corner) const;

    BLENDFUNCTION m_blend{};
    HDC m_hMemoryDC = nullptr;
    ULONG_PTR m_gdiplusToken = 0;
};

#include "Splash.h"

#include <cwchar>
#include <exception>
#include <iterator>
#include <memory>

#include "QxCommon_JsonDb.h"
#include "QxCommon_utility.h"
#include "VzComn_Exception.h"
#include "VzComn_FileBase.h"
#include "VzComn_Library.h"
#include "VzComn_LogFront.h"
#include "VzComn_String.h"

namespace
{
constexpr SIZE pictureSize = {474, 238};
constexpr SIZE canvasSize = {500, 500};
constexpr wchar_t fallbackLocale[] = L"en-us";
constexpr wchar_t builtInLine[] = L"Copyright (C) Norvane Soft. All rights reserved.";

struct PlacedImage
{
    const wchar_t* fileName;
    INT x;
    INT y;
};

// From the back to the front.
constexpr PlacedImage images[] = {
    {L"splash.png", 0, 0},
    {L"productname_splash.png", 33, 60},
    {L"ic_vzlogo_splash.png", 377, 197},
};

// A part of the picture for whose path or text there is no memory is missing, as one without a file is.
template <typename Operation>
void Attempt(Operation operation)
{
    try
    {
        operation();
    }
    catch (VzCommon::Exception::Base* caught)
    {
        const std::unique_ptr<VzCommon::Exception::Base> exception(caught);
    }
    catch (const std::exception&)
    {
    }
}

std::wstring LocaleName()
{
    return QxCommon::GetLocaleName(true);
}

// Deliberate: "misc", where the tray's texts are looked for in "Misc".
std::wstring ResourcePath(const std::wstring& locale, const std::wstring& fileName)
{
    const std::wstring root = QxCommon::GetProductPath();
    return VzCommon::String::Format(L"%s\\%s\\%s\\%s\\%s", root.c_str(), L"misc", L"Resource", locale.c_str(),
                                    fileName.c_str());
}

// A file that is no image counts as loaded: the picture goes without it.
bool LoadIfThere(const std::wstring& path, Gdiplus::GpImage*& image)
{
    if (!VzCommon::Storage::FileBase::Exists(path))
    {
        return false;
    }
    Gdiplus::DllExports::GdipLoadImageFromFile(path.c_str(), &image);
    return true;
}

std::wstring LineInTheUsersLanguage()
{
    QxCommon::JsonDb table;
    CSplash::LoadSplashStrings(table);
    return table[L"Splash"][L"CopyRight"].AsString();
}
} // namespace

BEGIN_MESSAGE_MAP(CSplash, CDialogEx)
    ON_WM_PAINT()
    ON_WM_CTLCOLOR()
END_MESSAGE_MAP()

// Deliberate: neither the device contexts nor the images are freed, and GDI+ is not shut down. They stay
// until the process ends.
CSplash::~CSplash() = default;

BOOL CSplash::Create(UINT nIDTemplate, CWnd* pParentWnd)
{
    return CDialogEx::Create(nIDTemplate, pParentWnd);
}

BOOL CSplash::OnInitDialog()
{
    CDialogEx::OnInitDialog();
    m_blend = {AC_SRC_OVER, 0, 255, AC_SRC_ALPHA};
    const Gdiplus::GdiplusStartupInput input;
    Gdiplus::GdiplusStartup(&m_gdiplusToken, &input, nullptr);

    // Deliberate: toggled, not set. The dialog's template does not have the style.
    ::SetWindowLongW(m_hWnd, GWL_EXSTYLE, ::GetWindowLongW(m_hWnd, GWL_EXSTYLE) ^ WS_EX_LAYERED);

    const HDC hWindowDC = ::GetDC(m_hWnd);
    m_hMemoryDC = ::CreateCompatibleDC(hWindowDC);
    ::SelectObject(m_hMemoryDC, ::CreateCompatibleBitmap(hWindowDC, canvasSize.cx, canvasSize.cy));
    RECT place{};
    ::GetWindowRect(m_hWnd, &place);
    Compose(hWindowDC, {place.left, place.top});
    return TRUE;
}

void CSplash::Compose(HDC hWindowDC, POINT corner)
{
    SplashPicture picture(m_hMemoryDC);
    Gdiplus::GpImage* loaded[std::size(images)] = {};
    for (std::size_t i = 0; i < std::size(images); ++i)
    {
        Attempt([&] { LoadSplashImage(images[i].fileName, loaded[i]); });
    }
    for (std::size_t i = 0; i < std::size(images); ++i)
    {
        picture.DrawImage(loaded[i], images[i].x, images[i].y);
    }
    picture.ChooseFont(L"Times New Roman", 7.6F, 0xFF000000);
    std::wstring text;
    Attempt([&] { text = LineInTheUsersLanguage(); });
    wchar_t line[100] = {};
    wcsncpy_s(line, text.empty() ? builtInLine : text.c_str(), _TRUNCATE);
    picture.DrawLine(line, 12.0F, 210.0F);
    ShowPicture(hWindowDC, corner); // whatever could be drawn
}

void CSplash::ShowPicture(HDC hWindowDC, POINT corner) const
{
    POINT source = {0, 0};
    SIZE size = pictureSize;
    BLENDFUNCTION blend = m_blend;
    VzCommon::Library::Base user32;
    decltype(&::UpdateLayeredWindow) update = nullptr;
    if (user32.Load(L"User32.DLL", nullptr, nullptr) &&
        user32.Resolve(L"UpdateLayeredWindow", update, nullptr))
    {
        update(m_hWnd, hWindowDC, &corner, &size, m_hMemoryDC, &source, 0, &blend, ULW_ALPHA);
    }
}

HBRUSH CSplash::OnCtlColor(CDC* pDC, CWnd* /*pWnd*/, UINT /*nCtlColor*/)
{
    pDC->SetBkMode(TRANSPARENT);
    return static_cast<HBRUSH>(::GetStockObject(NULL_BRUSH));
}

bool CSplash::LoadSplashImage(const std::wstring& fileName, Gdiplus::GpImage*& image)
{
    const std::wstring localized = ResourcePath(LocaleName(), fileName);
    LOG_INFO << L"Localized wstrFullPath: " << localized;
    if (LoadIfThere(localized, image))
    {
        return true;
    }
    const std::wstring common = ResourcePath(fallbackLocale, fileName);
    LOG_INFO << L"Common wstrFullPath: " << common;
    return LoadIfThere(common, image);
}

void CSplash::LoadSplashStrings(QxCommon::JsonDb& table)
{
    constexpr wchar_t fileName[] = L"UiDeskTrayString.json";
    if (Status::Failed(QxCommon::JsonDb::ParseFromFile(ResourcePath(LocaleName(), fileName), table)))
    {
        QxCommon::JsonDb::ParseFromFile(ResourcePath(fallbackLocale, fileName), table);
    }
}

#include "SplashPicture.h"

using namespace Gdiplus::DllExports;

SplashPicture::SplashPicture(HDC hDC)
{
    Keep(GdipCreateFromHDC(hDC, m_graphics.Put()));
}

void SplashPicture::DrawImage(Gdiplus::GpImage* image, INT x, INT y)
{
    Keep(GdipDrawImageI(m_graphics.Get(), image, x, y));
}

void SplashPicture::ChooseFont(const wchar_t* family, Gdiplus::REAL points, Gdiplus::ARGB color)
{
    Keep(GdipCreateFontFamilyFromName(family, nullptr, m_family.Put()));
    Keep(GdipCreateFont(m_family.Get(), points, Gdiplus::FontStyleRegular, Gdiplus::UnitPoint, m_font.Put()));
    Keep(GdipCreateSolidFill(color, m_fill.Put()));
}

void SplashPicture::DrawLine(const wchar_t* text, Gdiplus::REAL x, Gdiplus::REAL y)
{
    const Gdiplus::RectF unbounded(x, y, 0, 0);
    Keep(GdipDrawString(m_graphics.Get(), text, -1, m_font.Get(), &unbounded, nullptr, m_fill.Get()));
}

void SplashPicture::Keep(Gdiplus::GpStatus status)
{
    if (m_firstFailure == Gdiplus::Ok)
    {
        m_firstFailure = status;
    }
}

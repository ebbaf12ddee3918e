#pragma once

#include <windows.h>

// The flat interface's header lives on these two.
#include <objidl.h>

#include <gdiplus.h>

#include "VzComn_Handle.h"

struct GraphicsTraits
{
    using Type = Gdiplus::GpGraphics*;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type graphics) noexcept
    {
        return Gdiplus::DllExports::GdipDeleteGraphics(graphics) == Gdiplus::Ok;
    }
};

struct FontFamilyTraits
{
    using Type = Gdiplus::GpFontFamily*;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type family) noexcept
    {
        return Gdiplus::DllExports::GdipDeleteFontFamily(family) == Gdiplus::Ok;
    }
};

struct FontTraits
{
    using Type = Gdiplus::GpFont*;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type font) noexcept { return Gdiplus::DllExports::GdipDeleteFont(font) == Gdiplus::Ok; }
};

struct SolidFillTraits
{
    using Type = Gdiplus::GpSolidFill*;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type fill) noexcept
    {
        return Gdiplus::DllExports::GdipDeleteBrush(fill) == Gdiplus::Ok;
    }
};

// Draws images and one line of text on a device context, which must outlive it. A step that fails is left out
// of the picture, and the steps behind it are drawn all the same. Belongs to one thread, on which GDI+ has
// been started.
class SplashPicture
{
public:
    explicit SplashPicture(HDC hDC);

    // At its own size. A null image fails like any other step.
    void DrawImage(Gdiplus::GpImage* image, INT x, INT y);

    // What DrawLine writes with.
    void ChooseFont(const wchar_t* family, Gdiplus::REAL points, Gdiplus::ARGB color);

    // Not wrapped; x and y are its top left corner.
    void DrawLine(const wchar_t* text, Gdiplus::REAL x, Gdiplus::REAL y);

    // Of the steps so far; Ok if none has failed.
    [[nodiscard]] Gdiplus::GpStatus FirstFailure() const { return m_firstFailure; }

private:
    void Keep(Gdiplus::GpStatus status);

    Gdiplus::GpStatus m_firstFailure = Gdiplus::Ok;
    // Freed from the last to the first.
    VzCommon::UniqueHandle<GraphicsTraits> m_graphics;
    VzCommon::UniqueHandle<FontFamilyTraits> m_family;
    VzCommon::UniqueHandle<FontTraits> m_font;
    VzCommon::UniqueHandle<SolidFillTraits> m_fill;
};

#include "GdiPlusRecorder.h"

#include <utility>

#include "ScarceMemory.h"

namespace
{
template <typename Function>
Function* True(const char* name)
{
    const HMODULE library = LoadLibraryW(L"gdiplus.dll");
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

bool IsRefused(const std::wstring& function, const std::wstring& detail, Gdiplus::GpStatus& status)
{
    GdiPlusRecorder& recorder = TheGdiPlus();
    recorder.calls.push_back(detail.empty() ? function : function + L' ' + detail);
    const auto refusal = recorder.refusals.find(function);
    if (refusal == recorder.refusals.end())
    {
        return false;
    }
    status = refusal->second;
    return true;
}

// The last folder and the name.
std::wstring EndOf(const std::wstring& path)
{
    const std::size_t name = path.rfind(L'\\');
    return path.substr(path.rfind(L'\\', name - 1) + 1);
}

std::wstring Number(double number)
{
    return std::to_wstring(static_cast<int>(number * 10 + 0.5));
}
} // namespace

std::size_t GdiPlusRecorder::FreeImages()
{
    for (Gdiplus::GpImage* const image : images)
    {
        True<decltype(Gdiplus::DllExports::GdipDisposeImage)>("GdipDisposeImage")(image);
    }
    return std::exchange(images, {}).size();
}

GdiPlusRecorder& TheGdiPlus()
{
    static GdiPlusRecorder recorder;
    return recorder;
}

#define PASS_ON(function, detail, ...)                                                                       \
    const Plenty plenty;                                                                                     \
    GpStatus status = Ok;                                                                                    \
    return IsRefused(L## #function, detail, status) ? status                                                 \
                                                    : True<decltype(function)>(#function)(__VA_ARGS__)

namespace Gdiplus
{
extern "C" GpStatus WINAPI GdiplusStartup(ULONG_PTR* token, const GdiplusStartupInput* input,
                                          GdiplusStartupOutput* output)
{
    PASS_ON(GdiplusStartup,
            std::to_wstring(input->GdiplusVersion) + (output == nullptr ? L"" : L" with output"), token,
            input, output);
}

namespace DllExports
{
extern "C"
{
    GpStatus WINGDIPAPI GdipCreateFromHDC(HDC dc, GpGraphics** graphics)
    {
        PASS_ON(GdipCreateFromHDC, GetObjectType(dc) == OBJ_MEMDC ? L"memory" : L"other", dc, graphics);
    }

    GpStatus WINGDIPAPI GdipLoadImageFromFile(const WCHAR* path, GpImage** image)
    {
        const auto load = [&]() -> GpStatus { PASS_ON(GdipLoadImageFromFile, EndOf(path), path, image); };
        const GpStatus loaded = load();
        if (loaded == Ok)
        {
            const Plenty plenty;
            TheGdiPlus().images.push_back(*image);
        }
        return loaded;
    }

    GpStatus WINGDIPAPI GdipDrawImageI(GpGraphics* graphics, GpImage* image, INT x, INT y)
    {
        PASS_ON(GdipDrawImageI,
                (image == nullptr ? L"null " : L"") + std::to_wstring(x) + L' ' + std::to_wstring(y),
                graphics, image, x, y);
    }

    GpStatus WINGDIPAPI GdipCreateFontFamilyFromName(const WCHAR* name, GpFontCollection* fonts,
                                                     GpFontFamily** family)
    {
        PASS_ON(GdipCreateFontFamilyFromName, name + std::wstring(fonts == nullptr ? L"" : L" of some"), name,
                fonts, family);
    }

    GpStatus WINGDIPAPI GdipCreateFont(const GpFontFamily* family, REAL size, INT style, Unit unit,
                                       GpFont** font)
    {
        PASS_ON(GdipCreateFont, Number(size) + L' ' + std::to_wstring(style) + L' ' + std::to_wstring(unit),
                family, size, style, unit, font);
    }

    GpStatus WINGDIPAPI GdipCreateSolidFill(ARGB color, GpSolidFill** fill)
    {
        PASS_ON(GdipCreateSolidFill, std::to_wstring(color), color, fill);
    }

    GpStatus WINGDIPAPI GdipDrawString(GpGraphics* graphics, const WCHAR* text, INT length,
                                       const GpFont* font, const RectF* place, const GpStringFormat* format,
                                       const GpBrush* brush)
    {
        {
            const Plenty plenty;
            TheGdiPlus().lines.emplace_back(text);
        }
        PASS_ON(GdipDrawString,
                std::to_wstring(length) + L' ' + Number(place->X) + L' ' + Number(place->Y) + L' ' +
                    Number(place->Width) + L' ' + Number(place->Height) +
                    (format == nullptr ? L"" : L" formatted"),
                graphics, text, length, font, place, format, brush);
    }

    GpStatus WINGDIPAPI GdipDeleteBrush(GpBrush* brush)
    {
        PASS_ON(GdipDeleteBrush, L"", brush);
    }

    GpStatus WINGDIPAPI GdipDeleteFont(GpFont* font)
    {
        PASS_ON(GdipDeleteFont, L"", font);
    }

    GpStatus WINGDIPAPI GdipDeleteFontFamily(GpFontFamily* family)
    {
        PASS_ON(GdipDeleteFontFamily, L"", family);
    }

    GpStatus WINGDIPAPI GdipDeleteGraphics(GpGraphics* graphics)
    {
        PASS_ON(GdipDeleteGraphics, L"", graphics);
    }
}
} // namespace DllExports
} // namespace Gdiplus

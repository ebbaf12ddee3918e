#include "SplashScene.h"

#include <cstring>
#include <mutex>

#include "ScarceMemory.h"
#include "VzComn_Handle.h"

namespace
{
constexpr int edge = 500;

decltype(&GetProcAddress) g_getProcAddress = nullptr;
std::mutex g_lock;

void CopyPixels(HDC source, ShownPicture& picture)
{
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(info.bmiHeader), edge, -edge, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    const HDC copy = CreateCompatibleDC(source);
    const VzCommon::BitmapHandle section(CreateDIBSection(copy, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    const HGDIOBJ before = SelectObject(copy, section.Get());
    BitBlt(copy, 0, 0, edge, edge, source, 0, 0, SRCCOPY);
    GdiFlush();
    const auto* first = static_cast<const std::uint32_t*>(bits);
    picture.pixels.assign(first, first + edge * edge);
    SelectObject(copy, before);
    DeleteDC(copy);
}

BOOL WINAPI KeepPicture(HWND window, HDC target, POINT* place, SIZE* size, HDC source, POINT* sourcePlace,
                        COLORREF key, BLENDFUNCTION* blend, DWORD flags)
{
    const Plenty plenty;
    ShownPicture picture{window, target, *place, *size, source, *sourcePlace, key, *blend, flags, {}, {}};
    BITMAP bitmap{};
    GetObjectW(GetCurrentObject(source, OBJ_BITMAP), sizeof(bitmap), &bitmap);
    picture.canvas = {bitmap.bmWidth, bitmap.bmHeight};
    CopyPixels(source, picture);
    const std::lock_guard guard(g_lock);
    SplashScene::Pictures().push_back(std::move(picture));
    return UpdateLayeredWindow(window, target, place, size, source, sourcePlace, key, blend, flags);
}

FARPROC WINAPI HandOutKeepPicture(HMODULE module, LPCSTR name)
{
    if (std::strcmp(name, "UpdateLayeredWindow") == 0)
    {
        return module == GetModuleHandleW(L"user32.dll")
                   ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&KeepPicture))
                   : nullptr;
    }
    return g_getProcAddress(module, name);
}
} // namespace

std::uint32_t ShownPicture::At(int x, int y) const
{
    return pixels.at(static_cast<std::size_t>(y * edge + x));
}

SplashScene::SplashScene() : m_address(nullptr, "GetProcAddress", &HandOutKeepPicture)
{
    g_getProcAddress = m_address.Original<decltype(GetProcAddress)>();
    m_folder.Write(L"Configuration\\localeInfo.json", R"({"localMapping":[],"defaultLocal":"qq-qq"})");
    Pictures().clear();
    TheGdiPlus() = {};
}

SplashScene::~SplashScene() = default;

void SplashScene::Put(const std::wstring& locale, const std::wstring& name, std::string_view bytes) const
{
    m_folder.Write(L"misc\\Resource\\" + locale + L'\\' + name, bytes);
}

void SplashScene::PutImages(const std::wstring& locale) const
{
    Put(locale, L"splash.png", PngFile(474, 238, red));
    Put(locale, L"productname_splash.png", PngFile(100, 40, blue));
    Put(locale, L"ic_vzlogo_splash.png", PngFile(60, 20, green));
}

std::wstring SplashScene::PathOf(const std::wstring& locale, const std::wstring& name) const
{
    return m_folder.Path() + L"\\misc\\Resource\\" + locale + L'\\' + name;
}

std::vector<ShownPicture>& SplashScene::Pictures()
{
    static std::vector<ShownPicture> pictures;
    return pictures;
}

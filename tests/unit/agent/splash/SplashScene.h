#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

#include "FakeProduct.h"
#include "GdiPlusRecorder.h"
#include "ImportPatch.h"
#include "LogCapture.h"
#include "PngFile.h"
#include "Splash.h"
#include "TempDir.h"
#include "TempRegistry.h"

// What a window was told to look like, with the picture as it stood then.
struct ShownPicture
{
    HWND window = nullptr;
    HDC target = nullptr;
    POINT place{};
    SIZE size{};
    HDC source = nullptr;
    POINT sourcePlace{-1, -1};
    COLORREF key = 1;
    BLENDFUNCTION blend{};
    DWORD flags = 0;
    SIZE canvas{};                     // of the bitmap in the source
    std::vector<std::uint32_t> pixels; // premultiplied, 500 a row

    [[nodiscard]] std::uint32_t At(int x, int y) const;
};

// A product folder of the test's own for a user of the language "qq-qq", and the pictures that windows of
// this program get.
class SplashScene
{
public:
    SplashScene();
    ~SplashScene();

    SplashScene(const SplashScene&) = delete;
    SplashScene& operator=(const SplashScene&) = delete;

    // Puts a file into the folder of a language.
    void Put(const std::wstring& locale, const std::wstring& name, std::string_view bytes) const;

    // The three images of a language, all opaque: red, blue of 100 x 40, and green of 60 x 20.
    void PutImages(const std::wstring& locale) const;

    // A file's path as the splash names it.
    [[nodiscard]] std::wstring PathOf(const std::wstring& locale, const std::wstring& name) const;

    [[nodiscard]] static std::vector<ShownPicture>& Pictures();

private:
    TestSupport::TempRegistry m_registry;
    TestSupport::TempDir m_folder;
    FakeProduct m_product{L"QxSessionAgent_M.exe", m_folder.Path()};
    TestSupport::ImportPatch m_address;
};

inline constexpr std::uint32_t red = 0xFFFF0000;
inline constexpr std::uint32_t green = 0xFF00FF00;
inline constexpr std::uint32_t blue = 0xFF0000FF;

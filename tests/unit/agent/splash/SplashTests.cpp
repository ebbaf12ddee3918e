#include "SplashScene.h"

#include "QxCommon_JsonDb.h"
#include "resource.h"

#include <algorithm>
#include <cstring>

using ::testing::ElementsAre;
using ::testing::SizeIs;

namespace
{
class SplashTest : public ::testing::Test
{
protected:
    const ShownPicture& Show()
    {
        EXPECT_TRUE(splash.Create(IDD_SPLASH, nullptr));
        EXPECT_THAT(SplashScene::Pictures(), SizeIs(1));
        return SplashScene::Pictures().front();
    }

    [[nodiscard]] std::vector<std::wstring> PathLines() const
    {
        std::vector<std::wstring> lines = log.Texts();
        std::erase_if(lines, [](const std::wstring& text)
                      { return text.find(L"wstrFullPath") == std::wstring::npos; });
        return lines;
    }

    [[nodiscard]] static std::vector<std::wstring> Loaded()
    {
        std::vector<std::wstring> files;
        const std::wstring function = L"GdipLoadImageFromFile ";
        for (const std::wstring& call : TheGdiPlus().calls)
        {
            if (call.rfind(function, 0) == 0)
            {
                files.push_back(call.substr(function.size()));
            }
        }
        return files;
    }

    SplashScene scene;
    TestSupport::LogCapture log{logLevels};
    CSplash splash;
};

TEST_F(SplashTest, PlacesItsThreeImagesOverEachOther)
{
    scene.PutImages(L"qq-qq");
    const ShownPicture& picture = Show();
    EXPECT_EQ(picture.At(0, 0), red);
    EXPECT_EQ(picture.At(473, 237), red);
    EXPECT_EQ(picture.At(32, 60), red);
    EXPECT_EQ(picture.At(33, 59), red);
    EXPECT_EQ(picture.At(33, 60), blue);
    EXPECT_EQ(picture.At(132, 99), blue);
    EXPECT_EQ(picture.At(133, 99), red);
    EXPECT_EQ(picture.At(376, 197), red);
    EXPECT_EQ(picture.At(377, 197), green);
    EXPECT_EQ(picture.At(436, 216), green);
    EXPECT_EQ(picture.At(437, 216), red);
    EXPECT_EQ(picture.At(474, 0), 0U);
    EXPECT_EQ(picture.At(0, 238), 0U);
}

TEST_F(SplashTest, LeavesTransparentWhatNoImageCovers)
{
    scene.Put(L"qq-qq", L"productname_splash.png", PngFile(50, 50, 0x8000FF00));
    const ShownPicture& picture = Show();
    EXPECT_EQ(picture.At(0, 0), 0U);
    EXPECT_EQ(picture.At(473, 237), 0U);
    EXPECT_EQ(picture.At(50, 80), 0x80008000U); // the colour times its opacity
}

TEST_F(SplashTest, CallsTheFlatInterfaceInOrder)
{
    scene.PutImages(L"qq-qq");
    Show();
    EXPECT_THAT(TheGdiPlus().calls,
                ElementsAre(L"GdiplusStartup 1", L"GdipCreateFromHDC memory",
                            L"GdipLoadImageFromFile qq-qq\\splash.png",
                            L"GdipLoadImageFromFile qq-qq\\productname_splash.png",
                            L"GdipLoadImageFromFile qq-qq\\ic_vzlogo_splash.png", L"GdipDrawImageI 0 0",
                            L"GdipDrawImageI 33 60", L"GdipDrawImageI 377 197",
                            L"GdipCreateFontFamilyFromName Times New Roman", L"GdipCreateFont 76 0 3",
                            L"GdipCreateSolidFill 4278190080", L"GdipDrawString -1 120 2100 0 0",
                            L"GdipDeleteBrush", L"GdipDeleteFont", L"GdipDeleteFontFamily",
                            L"GdipDeleteGraphics"));
}

TEST_F(SplashTest, HandsThePictureToItsWindow)
{
    scene.PutImages(L"qq-qq");
    const ShownPicture& picture = Show();
    RECT place{};
    GetWindowRect(splash.m_hWnd, &place);
    EXPECT_EQ(picture.window, splash.m_hWnd);
    EXPECT_EQ(WindowFromDC(picture.target), splash.m_hWnd);
    EXPECT_EQ(picture.place.x, place.left);
    EXPECT_EQ(picture.place.y, place.top);
    EXPECT_EQ(picture.size.cx, 474);
    EXPECT_EQ(picture.size.cy, 238);
    EXPECT_EQ(picture.sourcePlace.x, 0);
    EXPECT_EQ(picture.sourcePlace.y, 0);
    EXPECT_EQ(picture.canvas.cx, 500);
    EXPECT_EQ(picture.canvas.cy, 500);
    EXPECT_EQ(picture.key, 0U);
    EXPECT_EQ(picture.flags, static_cast<DWORD>(ULW_ALPHA));
    EXPECT_EQ(picture.blend.BlendOp, AC_SRC_OVER);
    EXPECT_EQ(picture.blend.BlendFlags, 0);
    EXPECT_EQ(picture.blend.SourceConstantAlpha, 255);
    EXPECT_EQ(picture.blend.AlphaFormat, AC_SRC_ALPHA);
    EXPECT_EQ(place.right - place.left, 474);
    EXPECT_EQ(place.bottom - place.top, 238);
}

TEST_F(SplashTest, CutsALargerImageAtTheWindowAndAtTheBitmap)
{
    scene.Put(L"qq-qq", L"splash.png", PngFile(600, 600, red));
    const ShownPicture& picture = Show();
    EXPECT_EQ(picture.At(499, 499), red);
    EXPECT_EQ(picture.canvas.cx, 500);
    EXPECT_EQ(picture.canvas.cy, 500);
    RECT client{};
    GetClientRect(splash.m_hWnd, &client);
    EXPECT_EQ(client.right, 474);
    EXPECT_EQ(client.bottom, 238);
}

TEST_F(SplashTest, TakesEachImageThatALanguageLacksFromEnglish)
{
    scene.PutImages(L"en-us");
    scene.Put(L"qq-qq", L"productname_splash.png", PngFile(100, 40, green));
    const ShownPicture& picture = Show();
    EXPECT_EQ(picture.At(0, 0), red);
    EXPECT_EQ(picture.At(33, 60), green);
    EXPECT_EQ(picture.At(377, 197), green);
    EXPECT_THAT(Loaded(), ElementsAre(L"en-us\\splash.png", L"qq-qq\\productname_splash.png",
                                      L"en-us\\ic_vzlogo_splash.png"));
    const std::wstring localized = L": [INFO] Localized wstrFullPath: ";
    const std::wstring common = L": [INFO] Common wstrFullPath: ";
    EXPECT_THAT(PathLines(), ElementsAre(localized + scene.PathOf(L"qq-qq", L"splash.png"),
                                         common + scene.PathOf(L"en-us", L"splash.png"),
                                         localized + scene.PathOf(L"qq-qq", L"productname_splash.png"),
                                         localized + scene.PathOf(L"qq-qq", L"ic_vzlogo_splash.png"),
                                         common + scene.PathOf(L"en-us", L"ic_vzlogo_splash.png")));
}

TEST_F(SplashTest, AnswersWhetherAnImageFileWasThere)
{
    scene.Put(L"en-us", L"splash.png", PngFile(1, 1, red));
    scene.Put(L"qq-qq", L"broken.png", "no image");
    ULONG_PTR token = 0;
    const Gdiplus::GdiplusStartupInput input;
    Gdiplus::GdiplusStartup(&token, &input, nullptr);
    Gdiplus::GpImage* image = nullptr;
    EXPECT_FALSE(CSplash::LoadSplashImage(L"none.png", image));
    EXPECT_EQ(image, nullptr);
    EXPECT_TRUE(CSplash::LoadSplashImage(L"broken.png", image));
    EXPECT_EQ(image, nullptr);
    EXPECT_TRUE(CSplash::LoadSplashImage(L"splash.png", image));
    EXPECT_NE(image, nullptr);
}

TEST_F(SplashTest, StaysTransparentWithoutAnyImage)
{
    const ShownPicture& picture = Show();
    EXPECT_EQ(std::count(picture.pixels.begin(), picture.pixels.end(), 0U), 500 * 500);
    EXPECT_THAT(Loaded(), ElementsAre());
    EXPECT_EQ(std::count(TheGdiPlus().calls.begin(), TheGdiPlus().calls.end(), L"GdipDrawImageI null 0 0"),
              1);
    EXPECT_TRUE(IsWindow(splash.m_hWnd));
}

// What lies under the name of an image and is none. It counts as loaded, so English is not asked.
struct BadImage
{
    const char* name;
    std::string bytes;
};

void PrintTo(const BadImage& image, std::ostream* stream)
{
    *stream << image.name;
}

class BadImageTest : public SplashTest, public ::testing::WithParamInterface<BadImage>
{
};

TEST_P(BadImageTest, LeavesNothingButItsOwnPlaceEmpty)
{
    scene.PutImages(L"en-us");
    scene.PutImages(L"qq-qq");
    scene.Put(L"qq-qq", L"splash.png", GetParam().bytes);
    const ShownPicture& picture = Show();
    EXPECT_EQ(picture.At(0, 0), 0U);
    EXPECT_EQ(picture.At(473, 237), 0U);
    EXPECT_EQ(picture.At(33, 60), blue);
    EXPECT_EQ(picture.At(377, 197), green);
    EXPECT_THAT(Loaded(), ElementsAre(L"qq-qq\\splash.png", L"qq-qq\\productname_splash.png",
                                      L"qq-qq\\ic_vzlogo_splash.png"));
}

INSTANTIATE_TEST_SUITE_P(Images, BadImageTest,
                         ::testing::Values(BadImage{"Empty", ""}, BadImage{"Text", "no image"},
                                           BadImage{"SignatureOnly", PngFile(474, 238, red).substr(0, 8)},
                                           BadImage{"CutInTheHeader", PngFile(474, 238, red).substr(0, 20)},
                                           BadImage{"HugeDimensions", PngFileClaiming(60000, 60000)},
                                           BadImage{"NegativeDimensions",
                                                    PngFileClaiming(0xFFFFFFFF, 0xFFFFFFFF)},
                                           BadImage{"NoDimensions", PngFileClaiming(0, 0)}),
                         [](const auto& row) { return row.param.name; });

TEST_F(SplashTest, SurvivesAnImageThatEndsInTheMiddle)
{
    scene.PutImages(L"qq-qq");
    const std::string whole = PngFile(474, 238, red);
    scene.Put(L"qq-qq", L"splash.png", whole.substr(0, whole.size() / 2));
    EXPECT_EQ(Show().At(33, 60), blue);
}

TEST_F(SplashTest, SurvivesAFolderUnderTheNameOfAnImage)
{
    scene.PutImages(L"en-us");
    scene.Put(L"qq-qq", L"splash.png\\file", "");
    const ShownPicture& picture = Show();
    EXPECT_EQ(picture.At(0, 0), 0U);
    EXPECT_EQ(picture.At(33, 60), blue);
}

class RefusalTest : public SplashTest, public ::testing::WithParamInterface<const wchar_t*>
{
};

TEST_P(RefusalTest, DoesNotKeepTheWindowFromItsPicture)
{
    scene.PutImages(L"qq-qq");
    scene.Put(L"qq-qq", L"UiDeskTrayString.json", "{}");
    TheGdiPlus().refusals[GetParam()] = Gdiplus::OutOfMemory;
    Show();
    EXPECT_EQ(TheGdiPlus().lines.size(), 1U);
    EXPECT_THAT(log.Texts(), ::testing::Each(::testing::HasSubstr(L"[INFO]")));
}

INSTANTIATE_TEST_SUITE_P(Functions, RefusalTest,
                         ::testing::Values(L"GdiplusStartup", L"GdipCreateFromHDC", L"GdipLoadImageFromFile",
                                           L"GdipDrawImageI", L"GdipCreateFontFamilyFromName",
                                           L"GdipCreateFont", L"GdipCreateSolidFill", L"GdipDrawString",
                                           L"GdipDeleteGraphics"));

TEST_F(SplashTest, KeepsTheFirstFailureOfItsSteps)
{
    SplashPicture picture(nullptr);
    const Gdiplus::GpStatus first = picture.FirstFailure();
    EXPECT_NE(first, Gdiplus::Ok);
    TheGdiPlus().refusals[L"GdipDrawImageI"] = Gdiplus::ProfileNotFound;
    picture.DrawImage(nullptr, 0, 0);
    EXPECT_EQ(picture.FirstFailure(), first);
}

decltype(&GetProcAddress) g_getSceneAddress = nullptr;

FARPROC WINAPI HideUpdateLayeredWindow(HMODULE module, LPCSTR name)
{
    return std::strcmp(name, "UpdateLayeredWindow") == 0 ? nullptr : g_getSceneAddress(module, name);
}

TEST_F(SplashTest, IsThereWithoutAPictureWhereWindowsTakeNone)
{
    const TestSupport::ImportPatch hide(nullptr, "GetProcAddress", &HideUpdateLayeredWindow);
    g_getSceneAddress = hide.Original<decltype(GetProcAddress)>();
    EXPECT_TRUE(splash.Create(IDD_SPLASH, nullptr));
    EXPECT_TRUE(SplashScene::Pictures().empty());
    EXPECT_EQ(TheGdiPlus().calls.back(), L"GdipDeleteGraphics");
}

LONG g_style = 0;
LONG g_newStyle = 0;

LONG WINAPI FakeGetWindowLongW(HWND /*window*/, int /*index*/)
{
    return g_style;
}

LONG WINAPI FakeSetWindowLongW(HWND /*window*/, int index, LONG style)
{
    g_newStyle = index == GWL_EXSTYLE ? style : 0;
    return 0;
}

TEST_F(SplashTest, TogglesTheLayeredStyle)
{
    const TestSupport::ImportPatch get(nullptr, "GetWindowLongW", &FakeGetWindowLongW);
    const TestSupport::ImportPatch set(nullptr, "SetWindowLongW", &FakeSetWindowLongW);
    g_style = WS_EX_CONTROLPARENT;
    Show();
    EXPECT_EQ(g_newStyle, WS_EX_CONTROLPARENT | WS_EX_LAYERED);
    g_style = WS_EX_CONTROLPARENT | WS_EX_LAYERED;
    splash.OnInitDialog();
    EXPECT_EQ(g_newStyle, WS_EX_CONTROLPARENT);
}

TEST_F(SplashTest, IsATemplateOfOneHiddenTextWithoutABorder)
{
    Show();
    const auto style = static_cast<DWORD>(GetWindowLongW(splash.m_hWnd, GWL_STYLE));
    EXPECT_EQ(style & (WS_CAPTION | WS_THICKFRAME | WS_VISIBLE | WS_CHILD), 0U);
    EXPECT_NE(style & WS_POPUP, 0U);
    EXPECT_NE(GetWindowLongW(splash.m_hWnd, GWL_EXSTYLE) & WS_EX_LAYERED, 0);
    const HWND text = GetWindow(splash.m_hWnd, GW_CHILD);
    wchar_t words[32] = {};
    GetWindowTextW(text, words, 32);
    EXPECT_STREQ(words, L"SHOW ME");
    EXPECT_EQ(GetWindow(text, GW_HWNDNEXT), nullptr);
}

TEST_F(SplashTest, LetsItsControlsShowThePictureBehind)
{
    Show();
    const HDC dc = GetDC(splash.m_hWnd);
    SetBkMode(dc, OPAQUE);
    const HWND text = GetWindow(splash.m_hWnd, GW_CHILD);
    EXPECT_EQ(
        splash.SendMessage(WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(text)),
        reinterpret_cast<LRESULT>(GetStockObject(NULL_BRUSH)));
    EXPECT_EQ(GetBkMode(dc), TRANSPARENT);
    ReleaseDC(splash.m_hWnd, dc);
}
} // namespace

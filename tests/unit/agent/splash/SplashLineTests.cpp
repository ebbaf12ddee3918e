#include "SplashScene.h"

#include "QxCommon_JsonDb.h"
#include "resource.h"

using ::testing::ElementsAre;

namespace
{
constexpr wchar_t builtIn[] = L"Copyright (C) Norvane Soft. All rights reserved.";
constexpr wchar_t fileName[] = L"UiDeskTrayString.json";

class SplashLineTest : public ::testing::Test
{
protected:
    void Table(const std::wstring& locale, std::string_view json) const { scene.Put(locale, fileName, json); }

    static std::wstring Line()
    {
        CSplash splash;
        EXPECT_TRUE(splash.Create(IDD_SPLASH, nullptr));
        EXPECT_EQ(TheGdiPlus().lines.size(), 1U);
        return TheGdiPlus().lines.empty() ? std::wstring() : TheGdiPlus().lines.front();
    }

    SplashScene scene;
};

TEST_F(SplashLineTest, IsTheUsersLanguagesOwn)
{
    Table(L"qq-qq", R"({"Splash":{"CopyRight":"\u00a9 \u4f60\u597d"}})");
    Table(L"en-us", R"({"Splash":{"CopyRight":"English"}})");
    EXPECT_EQ(Line(), L"\x00A9 \x4F60\x597D");
}

TEST_F(SplashLineTest, IsEnglishWhereTheLanguageHasNoTable)
{
    Table(L"en-us", R"({"Splash":{"CopyRight":"English"}})");
    EXPECT_EQ(Line(), L"English");
}

TEST_F(SplashLineTest, IsBuiltInWithoutAnyTable)
{
    EXPECT_EQ(Line(), builtIn);
}

// The table that is there counts, even if it says nothing.
TEST_F(SplashLineTest, IsBuiltInWhereTheLanguagesTableHasNone)
{
    Table(L"qq-qq", R"({"Menu":{"Exit":"x"}})");
    Table(L"en-us", R"({"Splash":{"CopyRight":"English"}})");
    EXPECT_EQ(Line(), builtIn);
}

TEST_F(SplashLineTest, IsBuiltInForATextOfNoLength)
{
    Table(L"qq-qq", R"({"Splash":{"CopyRight":""}})");
    EXPECT_EQ(Line(), builtIn);
}

TEST_F(SplashLineTest, IsCutAfter99Characters)
{
    Table(L"qq-qq", R"({"Splash":{"CopyRight":")" + std::string(99, 'a') + R"("}})");
    EXPECT_EQ(Line(), std::wstring(99, L'a'));
    TheGdiPlus().lines.clear();
    Table(L"qq-qq",
          R"({"Splash":{"CopyRight":")" + std::string(99, 'a') + "b" + std::string(5000, 'c') + R"("}})");
    EXPECT_EQ(Line(), std::wstring(99, L'a'));
}

TEST_F(SplashLineTest, IsDrawnOverThePicture)
{
    scene.PutImages(L"qq-qq");
    Line();
    const ShownPicture& picture = SplashScene::Pictures().front();
    int changed = 0;
    for (int y = 205; y < 230; ++y)
    {
        for (int x = 10; x < 300; ++x)
        {
            changed += picture.At(x, y) != red ? 1 : 0;
        }
    }
    EXPECT_GT(changed, 50);
    EXPECT_EQ(picture.At(5, 215), red);
    EXPECT_EQ(picture.At(100, 195), red);
}

struct BadTable
{
    const char* name;
    std::string json;
    std::wstring line = builtIn;
};

void PrintTo(const BadTable& table, std::ostream* stream)
{
    *stream << table.name;
}

class BadTableTest : public SplashLineTest, public ::testing::WithParamInterface<BadTable>
{
};

TEST_P(BadTableTest, DoesNotEndTheSplash)
{
    Table(L"qq-qq", GetParam().json);
    Table(L"en-us", R"({"Splash":{"CopyRight":"English"}})");
    EXPECT_EQ(Line(), GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(
    Tables, BadTableTest,
    ::testing::Values(BadTable{"Empty", ""}, BadTable{"NoJson", "<xml/>"}, BadTable{"Array", "[1,2]"},
                      BadTable{"Number", "5"}, BadTable{"SplashIsText", R"({"Splash":"x"})"},
                      BadTable{"SplashIsArray", R"({"Splash":["CopyRight"]})"},
                      BadTable{"LineIsObject", R"({"Splash":{"CopyRight":{"a":1}}})"},
                      BadTable{"LineIsNumber", R"({"Splash":{"CopyRight":5}})", L"5"},
                      BadTable{"LineWithFormat", R"({"Splash":{"CopyRight":"%s%n%d"}})", L"%s%n%d"},
                      BadTable{"TooDeep", std::string(2000, '[')},
                      BadTable{"NoUtf8", "{\"Splash\":{\"CopyRight\":\"\xFF\xFE\"}}", L"\xFFFD\xFFFD"}),
    [](const auto& row) { return row.param.name; });

TEST_F(SplashLineTest, ReadsItsTableAloneToo)
{
    Table(L"qq-qq", R"({"Splash":{"CopyRight":"mine"}})");
    QxCommon::JsonDb table;
    CSplash::LoadSplashStrings(table);
    EXPECT_EQ(table[L"Splash"][L"CopyRight"].AsString(), L"mine");
}
} // namespace

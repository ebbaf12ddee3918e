#include "Container.h"
#include "ImportPatch.h"
#include "LogCapture.h"
#include "QxCommon_utility.h"
#include "QxLocaleHelper.h"
#include "TempDir.h"
#include "TempRegistry.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <thread>
#include <vector>

using QxCommon::QxLocaleHelper;
using TestSupport::ImportPatch;
using TestSupport::LogCapture;
using TestSupport::TempDir;
using TestSupport::TempRegistry;

namespace
{

using Lines = std::vector<std::wstring>;

LANGID language = 1033;

LANGID WINAPI FakeLanguage()
{
    return language;
}

constexpr std::string_view mapping = R"({
    "localMapping": [ { "lcid": 1033, "localeName": "en-us" }, { "lcid": 1031, "localeName": "De-DE" } ],
    "defaultLocal": "fr-fr" // for everyone else
})";

// The helper keeps its answer for the life of the process; a file without any name makes it forget.
void ForgetAnswer()
{
    const TempDir folder;
    std::wstring localeName;
    (void)QxLocaleHelper::GetLocaleName(localeName, folder.Write(L"empty.json", "{}"), false);
}

class QxLocaleTest : public testing::Test
{
protected:
    QxLocaleTest() { language = 1033; }

    ~QxLocaleTest() override { ForgetAnswer(); }

    void Write(std::string_view bytes) { m_path = m_folder.Write(L"Configuration\\localeInfo.json", bytes); }

    // The answer for the language by the file as it is now.
    std::wstring NameFor(LANGID wanted)
    {
        language = wanted;
        std::wstring localeName;
        EXPECT_EQ(QxLocaleHelper::GetLocaleName(localeName, m_path, false), Status::Success);
        return localeName;
    }

    std::wstring NameFor(LANGID wanted, std::string_view bytes)
    {
        Write(bytes);
        return NameFor(wanted);
    }

    std::wstring CachedName(AgentStatus expected = Status::Success)
    {
        std::wstring localeName;
        EXPECT_EQ(QxLocaleHelper::GetLocaleName(localeName, m_path, true), expected);
        return localeName;
    }

    LogCapture m_log;
    TempDir m_folder;
    std::wstring m_path = m_folder.Path(L"Configuration\\localeInfo.json");

private:
    ImportPatch m_patch{L"kernel32.dll", "GetUserDefaultUILanguage", &FakeLanguage};
};

// The operation that all callers use, with the product installed in a temporary folder.
class GetLocaleNameTest : public QxLocaleTest
{
protected:
    GetLocaleNameTest()
    {
        m_registry.SetString(HKEY_LOCAL_MACHINE, L"SOFTWARE\\NorvaneSoft\\Oravex", L"ProductPath",
                             m_folder.Path());
    }

    // Without the lines about the product.
    [[nodiscard]] Lines LocaleLines() const
    {
        Lines lines = m_log.Texts();
        std::erase_if(lines,
                      [](const std::wstring& line) { return line.find(L"s_wszQxId") != std::wstring::npos; });
        return lines;
    }

private:
    TempRegistry m_registry;
};

} // namespace

TEST_F(QxLocaleTest, FindsTheLanguageInTheMapping)
{
    Write(mapping);
    EXPECT_EQ(NameFor(1031), L"De-DE") << "in the file's own case";
    EXPECT_EQ(m_log.Texts(), Lines{L"QxCommon: [INFO] Get locale name, lcid: 1031, localeName: De-DE"});
}

TEST_F(QxLocaleTest, FallsBackToTheFilesDefault)
{
    Write(mapping);
    EXPECT_EQ(NameFor(1041), L"fr-fr");
    EXPECT_EQ(m_log.Texts(),
              Lines{L"QxCommon: [INFO] Get locale name, unsupport language, return en-us, lcid: 1041"});
}

TEST_F(QxLocaleTest, TakesTheFirstOfTwoMatches)
{
    EXPECT_EQ(NameFor(7, R"({"localMapping":[{"lcid":7,"localeName":"a"},{"lcid":7,"localeName":"b"}]})"),
              L"a");
}

TEST_F(QxLocaleTest, ReadsTheNumberByTheUsualConversions)
{
    EXPECT_EQ(NameFor(1033, R"({"localMapping":[{"lcid":"1033","localeName":"text"}]})"), L"text");
    EXPECT_EQ(NameFor(1033, R"({"localMapping":[{"lcid":1033.9,"localeName":"real"}]})"), L"real");
    EXPECT_EQ(NameFor(1, R"({"localMapping":[{"lcid":true,"localeName":"bool"}]})"), L"bool");
    EXPECT_EQ(NameFor(1033, R"({"localMapping":[{"lcid":1033,"localeName":7}]})"), L"7");
}

TEST_F(QxLocaleTest, CountsAnElementWithoutAUsableNumberAsLanguageZero)
{
    EXPECT_EQ(NameFor(0, R"({"localMapping":[{"localeName":"none"}]})"), L"none");
    EXPECT_EQ(NameFor(0, R"({"localMapping":[{"lcid":"x","localeName":"no number"}]})"), L"no number");
    EXPECT_EQ(NameFor(0, R"({"localMapping":[{"lcid":"99999999999","localeName":"too large"}]})"),
              L"too large");
    EXPECT_EQ(NameFor(1033, R"({"localMapping":[{"localeName":"none"}],"defaultLocal":"d"})"), L"d");
}

TEST_F(QxLocaleTest, TakesTheDefaultIfThereIsNoMapping)
{
    for (const char* file :
         {R"({"defaultLocal":"d"})", R"({"localMapping":[],"defaultLocal":"d"})",
          R"({"localMapping":null,"defaultLocal":"d"})", R"({"localMapping":7,"defaultLocal":"d"})",
          R"({"localMapping":"x","defaultLocal":"d"})",
          R"({"localMapping":{"lcid":1033},"defaultLocal":"d"})",
          R"({"localMapping":[7,"x",null,[1033],[]],"defaultLocal":"d"})"})
    {
        EXPECT_EQ(NameFor(1033, file), L"d") << file;
    }
}

TEST_F(QxLocaleTest, FindsNoNameWithoutADefault)
{
    for (const char* file :
         {"{}", "[]", "[1]", "7", "\"x\"", "true", R"({"localMapping":[]})", R"({"defaultLocal":""})",
          R"({"defaultLocal":null})", R"({"defaultLocal":["d"]})",
          R"({"localMapping":[{"lcid":1033}],"defaultLocal":"d"})",
          R"({"localMapping":[{"lcid":1033,"localeName":""}],"defaultLocal":"d"})",
          R"({"localMapping":[{"lcid":1033,"localeName":{}}],"defaultLocal":"d"})"})
    {
        EXPECT_EQ(NameFor(1033, file), L"") << file;
    }
}

TEST_F(QxLocaleTest, ReadsAnEncipheredFile)
{
    EXPECT_EQ(NameFor(1031, Container::Of(mapping)), L"De-DE");
}

TEST_F(QxLocaleTest, TellsThatTheFileIsMissing)
{
    EXPECT_EQ(CachedName(Status::FileNotOpened), L"");
    EXPECT_EQ(m_log.Texts(), (Lines{L"QxCommon: [ERROR] failed to open file <" + m_path + L">, error = 3",
                                    L"QxCommon: [ERROR] Parse localMapping file error: 0xe0ff0012"}));
}

TEST_F(QxLocaleTest, TellsThatTheFileHoldsNoJson)
{
    for (const char* file : {"", "no JSON", "null", "\xEF\xBB\xBF{}"})
    {
        const LogCapture log;
        Write(file);
        EXPECT_EQ(CachedName(), L"");
        EXPECT_EQ(log.Texts(), Lines{L"QxCommon: [ERROR] Parse localMapping file error: 0x20ff0000"}) << file;
    }
}

TEST_F(QxLocaleTest, KeepsItsAnswerForTheLifeOfTheProcess)
{
    Write(mapping);
    language = 1031;
    EXPECT_EQ(CachedName(), L"De-DE");
    language = 1033;
    EXPECT_TRUE(DeleteFileW(m_path.c_str()));
    EXPECT_EQ(CachedName(), L"De-DE");
    EXPECT_EQ(m_log.Texts(), (Lines{L"QxCommon: [INFO] Get locale name, lcid: 1031, localeName: De-DE",
                                    L"QxCommon: [INFO] m_localName exist, just return it"}));
}

TEST_F(QxLocaleTest, KeepsTheDefaultAsWell)
{
    Write(mapping);
    language = 1041;
    EXPECT_EQ(CachedName(), L"fr-fr");
    language = 1033;
    EXPECT_EQ(CachedName(), L"fr-fr");
}

TEST_F(QxLocaleTest, TriesAgainAfterAFailure)
{
    language = 1033;
    EXPECT_EQ(CachedName(Status::FileNotOpened), L"");
    Write("{}");
    EXPECT_EQ(CachedName(), L"");
    Write(mapping);
    EXPECT_EQ(CachedName(), L"en-us");
}

TEST_F(QxLocaleTest, ReplacesItsAnswerWhenToldToReadAnew)
{
    Write(mapping);
    language = 1033;
    EXPECT_EQ(CachedName(), L"en-us");
    EXPECT_EQ(NameFor(1031), L"De-DE");
    EXPECT_EQ(CachedName(), L"De-DE");
}

TEST_F(QxLocaleTest, GivesEightThreadsTheSameAnswer)
{
    Write(mapping);
    language = 1031;
    std::vector<std::thread> threads;
    std::vector<int> wrongAnswers(8);
    for (int& wrong : wrongAnswers)
    {
        threads.emplace_back(
            [this, &wrong]
            {
                for (int i = 0; i < 200; ++i)
                {
                    std::wstring localeName;
                    const AgentStatus status = QxLocaleHelper::GetLocaleName(localeName, m_path, i % 10 != 0);
                    wrong += status != Status::Success || localeName != L"De-DE" ? 1 : 0;
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(wrongAnswers, std::vector<int>(8));
}

TEST_F(GetLocaleNameTest, ReadsTheFileInTheConfigurationFolder)
{
    Write(mapping);
    language = 1031;
    EXPECT_EQ(QxCommon::GetLocaleName(true), L"De-DE");
    EXPECT_EQ(QxCommon::GetLocaleName(true), L"De-DE");
    EXPECT_EQ(LocaleLines(), (Lines{L"QxCommon: [INFO] Get locale name, lcid: 1031, localeName: De-DE",
                                    L"QxCommon: [INFO] m_localName exist, just return it"}));
}

TEST_F(GetLocaleNameTest, HasABuiltInNameForEveryFailure)
{
    EXPECT_EQ(QxCommon::GetLocaleName(true), L"EN-US") << "no file";
    Write("no JSON");
    EXPECT_EQ(QxCommon::GetLocaleName(true), L"EN-US");
    Write("{}");
    EXPECT_EQ(QxCommon::GetLocaleName(true), L"EN-US");
    EXPECT_EQ(LocaleLines(),
              (Lines{L"QxCommon: [ERROR] failed to open file <" + m_path + L">, error = 3",
                     L"QxCommon: [ERROR] Parse localMapping file error: 0xe0ff0012",
                     L"QxCommon: [ERROR] Parse localMapping file error: 0x20ff0000",
                     L"QxCommon: [INFO] Get locale name, unsupport language, return en-us, lcid: 1033"}));
}

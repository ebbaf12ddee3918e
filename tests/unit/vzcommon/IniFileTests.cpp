#include "VzComn_IniFile.h"

#include "ImportPatch.h"
#include "ObjectCounts.h"
#include "TempDir.h"
#include "Thrown.h"

#include "VzComn_String.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::ImportPatch;
using TestSupport::TempDir;
using TestSupport::Thrown;
using namespace VzCommon::Storage;

namespace
{

using Names = std::vector<std::wstring>;
using StoreException = VzCommon::Storage::Exception;

class IniFileTest : public testing::Test
{
protected:
    Key FileKey() const { return Key::ForIniFile(dir.Path().c_str(), L"\\test.ini"); }

    // Opens the section of a file of that text.
    void Open(const std::string& text, const std::wstring& section = L"Section")
    {
        dir.Write(L"test.ini", text);
        ASSERT_TRUE(store.Open(FileKey(), section));
    }

    template <typename Operation>
    static std::uint32_t CodeOf(Operation operation)
    {
        const auto exception = Thrown<StoreException>(operation);
        return exception ? exception->code : 0xFFFFFFFFU;
    }

    TempDir dir;
    IniFile store;
};

TEST_F(IniFileTest, ReadsNumbersAndTexts)
{
    Open("[Other]\r\nNumber=1\r\n[Section]\r\nNumber=17\r\nHex=0x1F\r\nText= some text \r\nQuoted=\" x "
         "\"\r\n");
    EXPECT_EQ(store.GetDword(L"Number", 5), 17U);
    EXPECT_EQ(store.GetDword(L"Hex", 5), 31U);
    EXPECT_EQ(store.GetString(L"Text", L"d"), L"some text");
    EXPECT_EQ(store.GetString(L"Quoted", L"d"), L" x ");
    EXPECT_EQ(store.GetDword(L"NUMBER", 5), 17U) << "names have no case";
}

TEST_F(IniFileTest, GivesTheDefaultForWhatIsMissing)
{
    Open("[Section]\r\nEmptyText=\r\nEmptyNumber=\r\n");
    EXPECT_EQ(store.GetDword(L"Missing", 0xFFFFFFFEU), 0xFFFFFFFEU);
    EXPECT_EQ(store.GetString(L"Missing", L"default"), L"default");
    EXPECT_EQ(store.GetDword(L"EmptyNumber", 5), 5U);
    EXPECT_EQ(store.GetString(L"EmptyText", L"default"), L"") << "an empty value is a value";

    ASSERT_TRUE(store.Open(FileKey(), L"Nowhere"));
    EXPECT_EQ(store.GetString(L"Missing", L"default"), L"default");
    ASSERT_TRUE(store.Open(Key::ForIniFile(dir.Path().c_str(), L"\\missing.ini"), L"Section"));
    EXPECT_EQ(store.GetDword(L"Missing", 5), 5U);
    EXPECT_EQ(store.GetString(L"Missing", L"default"), L"default");
}

TEST_F(IniFileTest, ReadsTextOfAnyLengthWhole)
{
    for (const std::size_t length : {0, 1, 254, 255, 256, 257, 510, 511, 512, 767, 1000, 5000})
    {
        Open("[Section]\r\nText=" + std::string(length, 'x') + "\r\n");
        EXPECT_EQ(store.GetString(L"Text", L"d"), std::wstring(length, L'x')) << length;
    }
}

decltype(&GetPrivateProfileStringW) s_getString = nullptr;
std::vector<DWORD> s_rooms;

DWORD WINAPI CountingGetPrivateProfileStringW(const wchar_t* section, const wchar_t* name,
                                              const wchar_t* defaultValue, wchar_t* text, DWORD room,
                                              const wchar_t* file)
{
    s_rooms.push_back(room);
    return s_getString(section, name, defaultValue, text, room, file);
}

TEST_F(IniFileTest, ReadsATextOf255CharactersInTwoRounds)
{
    const ImportPatch patch(nullptr, "GetPrivateProfileStringW", &CountingGetPrivateProfileStringW);
    s_getString = patch.Original<std::remove_pointer_t<decltype(s_getString)>>();

    Open("[Section]\r\nText=" + std::string(255, 'x') + "\r\n");
    EXPECT_EQ(store.GetString(L"Text", L"d"), std::wstring(255, L'x'));
    EXPECT_THAT(s_rooms, ElementsAre(256U, 512U));

    s_rooms.clear();
    Open("[Section]\r\nText=" + std::string(254, 'x') + "\r\n");
    EXPECT_EQ(store.GetString(L"Text", L"d"), std::wstring(254, L'x'));
    EXPECT_THAT(s_rooms, ElementsAre(256U));
}

TEST_F(IniFileTest, DoesNotReadInTheVariantsThatDoNotThrow)
{
    Open("[Section]\r\nNumber=17\r\nText=x\r\n");
    std::uint32_t error = 99;
    std::vector<std::uint8_t> bytes;
    EXPECT_EQ(store.GetDwordNoThrow(L"Number", 5, &error), 5U);
    EXPECT_EQ(error, 0U);
    error = 99;
    EXPECT_EQ(store.GetStringNoThrow(L"Text", L"default", &error), L"default");
    EXPECT_EQ(error, 0U);
    error = 99;
    EXPECT_EQ(store.GetQwordNoThrow(L"Number", 5, &error), 0U);
    EXPECT_EQ(error, 0U);
    error = 99;
    EXPECT_EQ(store.GetBinaryNoThrow(L"Text", bytes, &error), 0U);
    EXPECT_EQ(error, 0U);
    EXPECT_EQ(store.GetDwordNoThrow(L"Number", 5, nullptr), 5U);
}

TEST_F(IniFileTest, HasNoBytesNoLongNumbersAndNoOtherOpenings)
{
    Open("[Section]\r\nNumber=17\r\n");
    std::vector<std::uint8_t> bytes{1};
    EXPECT_EQ(store.GetBinary(L"Number", bytes), 0U);
    EXPECT_EQ(store.GetQword(L"Number"), 0U);
    EXPECT_FALSE(store.SetBinary(L"Number", bytes));
    EXPECT_FALSE(store.SetQword(L"Number", 1));
    EXPECT_FALSE(store.OpenWrite(FileKey(), L"Other"));
    EXPECT_FALSE(store.OpenEnum(FileKey(), L"Other"));
    EXPECT_EQ(store.GetDword(L"Number", 5), 17U) << "the section is still the first one";
}

TEST_F(IniFileTest, WritesNumbersAndTexts)
{
    ASSERT_TRUE(store.Create(FileKey(), L"Section"));
    EXPECT_TRUE(store.SetDword(L"Number", 4294967295U));
    EXPECT_TRUE(store.SetString(L"Text", L"some text"));
    EXPECT_TRUE(store.SetString(L"Empty", L""));
    EXPECT_EQ(dir.Read(L"test.ini"), "[Section]\r\nNumber=4294967295\r\nText=some text\r\nEmpty=\r\n");
    EXPECT_EQ(store.GetDword(L"Number", 0), 4294967295U);
    EXPECT_EQ(store.GetString(L"Text", L""), L"some text");
}

TEST_F(IniFileTest, ThrowsTheSystemsErrorWhenItCannotWrite)
{
    const std::wstring nowhere = dir.Path(L"missing folder");
    ASSERT_TRUE(store.Open(Key::ForIniFile(nowhere.c_str(), L"test.ini"), L"Section"));
    const auto exception = Thrown<StoreException>([&] { store.SetString(L"Text", L"x"); });
    ASSERT_TRUE(exception);
    EXPECT_EQ(exception->code, 3U);
    EXPECT_NE(exception->line, 0U);
    EXPECT_NE(exception->sourceFile.find("VzComn_IniFile.cpp"), std::string::npos);
    EXPECT_EQ(CodeOf([&] { store.SetDword(L"Number", 1); }), 3U);
    EXPECT_EQ(store.GetDword(L"Number", 5), 5U) << "the store is still open";
}

TEST_F(IniFileTest, TurnsAFailedFormattingIntoItsOwnException)
{
    ASSERT_TRUE(store.Open(FileKey(), L"Section"));
    const ImportPatch patch(
        nullptr, "_vsnwprintf_s",
        +[](wchar_t*, size_t, size_t, const wchar_t*, va_list) -> int
        { VZ_THROW(VzCommon::String::Exception, 77); });
    EXPECT_EQ(CodeOf([&] { store.SetDword(L"Number", 1); }), 77U);
}

TEST_F(IniFileTest, DeletesValuesAndSections)
{
    Open("[Section]\r\na=1\r\nb=2\r\nc=3\r\n[Other]\r\na=4\r\n");
    EXPECT_TRUE(store.DeleteValue(std::wstring(L"a")));
    EXPECT_TRUE(store.DeleteValue(L"b")) << "by a pointer";
    EXPECT_EQ(store.GetDword(L"a", 0), 0U);
    EXPECT_EQ(store.GetDword(L"b", 0), 0U);
    EXPECT_EQ(store.GetDword(L"c", 0), 3U);
    EXPECT_TRUE(store.DeleteValue(L"a")) << "what is missing need not be deleted";

    EXPECT_TRUE(store.DeleteSection());
    Names names;
    store.ListSections(names);
    EXPECT_THAT(names, ElementsAre(L"Other"));
    ASSERT_TRUE(store.Open(FileKey(), L"Other"));
    EXPECT_EQ(store.GetDword(L"a", 0), 4U);
}

TEST_F(IniFileTest, ThrowsWhenItCannotDelete)
{
    ASSERT_TRUE(store.Open(FileKey(), L"Section"));
    const ImportPatch patch(
        nullptr, "WritePrivateProfileStringW",
        +[](const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*) -> BOOL
        {
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
    EXPECT_EQ(CodeOf([&] { store.DeleteSection(); }), 5U);
    EXPECT_EQ(CodeOf([&] { store.DeleteValue(L"a"); }), 5U);
}

TEST_F(IniFileTest, ListsSectionsAndWholeValuesBehindWhatTheListHolds)
{
    Open("[Section]\r\na=1\r\nb = two \r\n[Other]\r\n[Third]\r\n");
    Names names{L"before"};
    EXPECT_TRUE(store.ListSections(names));
    EXPECT_THAT(names, ElementsAre(L"before", L"Section", L"Other", L"Third"));
    names.clear();
    EXPECT_TRUE(store.ListValues(names));
    EXPECT_THAT(names, ElementsAre(L"a=1", L"b=two"));
}

TEST_F(IniFileTest, ListsNothingOfAMissingFileOrSection)
{
    Names names;
    ASSERT_TRUE(store.Open(FileKey(), L"Section"));
    EXPECT_TRUE(store.ListSections(names));
    EXPECT_TRUE(store.ListValues(names));
    EXPECT_THAT(names, IsEmpty());
}

// Around the room that the lists begin with, and around the first that they grow to.
TEST_F(IniFileTest, ListsOfAnyLengthComeWhole)
{
    for (std::size_t length = 240; length < 262; ++length)
    {
        for (const std::size_t more : {std::size_t{0}, std::size_t{256}})
        {
            const std::string last(length + more, 'n');
            Open("[a]\r\n[" + last + "]\r\n", L"a");
            Names names;
            ASSERT_TRUE(store.ListSections(names));
            EXPECT_THAT(names, ElementsAre(L"a", std::wstring(last.begin(), last.end())));

            Open("[a]\r\nb=1\r\nc=" + last + "\r\n", L"a");
            names.clear();
            ASSERT_TRUE(store.ListValues(names));
            EXPECT_THAT(names, ElementsAre(L"b=1", L"c=" + std::wstring(last.begin(), last.end())));
        }
    }
}

TEST_F(IniFileTest, ListsManySections)
{
    std::string text;
    Names expected;
    for (int i = 0; i < 3000; ++i)
    {
        text += "[section" + std::to_string(i) + "]\r\n";
        expected.push_back(L"section" + std::to_wstring(i));
    }
    Open(text);
    Names names;
    ASSERT_TRUE(store.ListSections(names));
    EXPECT_EQ(names, expected);
}

TEST_F(IniFileTest, FlushAlwaysThrows)
{
    Open("[Section]\r\n");
    EXPECT_EQ(CodeOf([&] { store.Flush(); }), 0U) << "success, by the system's own account";
    EXPECT_EQ(store.GetDword(L"a", 5), 5U) << "the store is still open";
}

TEST_F(IniFileTest, CloseThrowsOnlyWhenItFlushes)
{
    const bool yes = true;
    const bool no = false;
    Open("[Section]\r\na=1\r\n");
    EXPECT_TRUE(Thrown<StoreException>([&] { store.Close(&yes); }));
    EXPECT_EQ(store.GetDword(L"a", 5), 1U) << "the store is still open";
    EXPECT_TRUE(store.Close(&no));
    EXPECT_TRUE(Thrown<StoreException>([&] { store.GetDword(L"a", 5); }));
    EXPECT_TRUE(store.Close(nullptr)) << "a closed store may be closed";
    EXPECT_TRUE(Thrown<StoreException>([&] { store.Close(&yes); }));
    Open("[Section]\r\na=2\r\n");
    EXPECT_EQ(store.GetDword(L"a", 5), 2U) << "and opened anew";
}

TEST_F(IniFileTest, RefusesAnEmptyPathOrSection)
{
    EXPECT_TRUE(Thrown<StoreException>([&] { store.Open(FileKey(), L""); }));
    EXPECT_TRUE(Thrown<StoreException>([&] { store.Create(FileKey(), L""); }));
    EXPECT_TRUE(Thrown<StoreException>([&] { store.Open(Key::ForIniFile(L"", L""), L"Section"); }));
    EXPECT_TRUE(Thrown<StoreException>([&] { store.Open(Key::ForIniFile(nullptr, nullptr), L"Section"); }));
}

TEST_F(IniFileTest, ThrowsWhenItIsNotOpenOrTheNameIsEmpty)
{
    const auto throwsFor = [this](const std::wstring& name)
    {
        EXPECT_TRUE(Thrown<StoreException>([&] { store.GetDword(name, 5); }));
        EXPECT_TRUE(Thrown<StoreException>([&] { store.GetString(name, L""); }));
        EXPECT_TRUE(Thrown<StoreException>([&] { store.SetDword(name, 5); }));
        EXPECT_TRUE(Thrown<StoreException>([&] { store.SetString(name, L""); }));
        EXPECT_TRUE(Thrown<StoreException>([&] { store.DeleteValue(name); }));
    };
    Names names;
    throwsFor(L"name");
    EXPECT_TRUE(Thrown<StoreException>([&] { store.ListSections(names); }));
    EXPECT_TRUE(Thrown<StoreException>([&] { store.ListValues(names); }));
    EXPECT_TRUE(Thrown<StoreException>([&] { store.DeleteSection(); }));
    EXPECT_TRUE(Thrown<StoreException>([&] { store.Flush(); }));
    Open("[Section]\r\n");
    throwsFor(L"");
    const wchar_t* none = nullptr;
    EXPECT_TRUE(Thrown<StoreException>([&] { store.DeleteValue(none); }));
}

TEST_F(IniFileTest, JoinsFolderAndFileByABackslashIfNeitherHasOne)
{
    dir.Write(L"test.ini", "[Section]\r\na=7\r\n");
    const std::wstring folder = dir.Path();
    const std::wstring closed = folder + L"\\";
    for (const wchar_t* first : {folder.c_str(), closed.c_str()})
    {
        for (const wchar_t* second : {L"test.ini", L"\\test.ini"})
        {
            ASSERT_TRUE(store.Open(Key::ForIniFile(first, second), L"Section"));
            EXPECT_EQ(store.GetDword(L"a", 0), 7U);
        }
    }
}

TEST_F(IniFileTest, ReadsNothingFromAPathThatTheSystemCannotTake)
{
    const std::wstring folder = dir.Path() + L"\\" + std::wstring(40000, L'x');
    ASSERT_TRUE(store.Open(Key::ForIniFile(folder.c_str(), L"test.ini"), L"Section"));
    EXPECT_EQ(store.GetDword(L"a", 5), 5U);
    EXPECT_EQ(store.GetString(L"a", L"d"), L"d");
    Names names;
    EXPECT_TRUE(store.ListSections(names));
    EXPECT_THAT(names, IsEmpty());
}

TEST_F(IniFileTest, LeavesNoFileOpen)
{
    Open("[Section]\r\na=1\r\n");
    EXPECT_EQ(TestSupport::GrowthOf(
                  [this]
                  {
                      IniFile brief;
                      Names names;
                      brief.Open(FileKey(), L"Section");
                      brief.GetDword(L"a", 0);
                      brief.SetDword(L"b", 0);
                      brief.ListSections(names);
                      EXPECT_TRUE(Thrown<StoreException>([&] { brief.Flush(); }));
                  }),
              "");
}

} // namespace

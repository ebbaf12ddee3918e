// What the registry store keeps: values, lists, deletions.
#include "RegistryTest.h"

#include "ImportPatch.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using TestSupport::ImportPatch;

namespace
{

TEST_F(RegistryTest, WritesAndReadsValuesOfEveryKind)
{
    const std::vector<std::uint8_t> bytes{1, 0, 255};
    ASSERT_TRUE(store.Create(TestKey(), L"Section"));
    EXPECT_TRUE(store.SetDword(L"Number", 0xFFFFFFFEU));
    EXPECT_TRUE(store.SetQword(L"Long", 0xFFFFFFFFFFFFFFFDU));
    EXPECT_TRUE(store.SetString(L"Text", L"\x0416 text"));
    EXPECT_TRUE(store.SetBinary(L"Bytes", bytes));
    EXPECT_TRUE(store.Close(nullptr));

    ASSERT_TRUE(store.Open(TestKey(), L"Section"));
    EXPECT_EQ(store.GetDword(L"Number", 5), 0xFFFFFFFEU);
    EXPECT_EQ(store.GetQword(L"Long"), 0xFFFFFFFFFFFFFFFDU);
    EXPECT_EQ(store.GetString(L"Text", L"default"), L"\x0416 text");
    std::vector<std::uint8_t> read{9, 9};
    EXPECT_EQ(store.GetBinary(L"Bytes", read), 3U);
    EXPECT_EQ(read, bytes);

    std::uint32_t error = 99;
    EXPECT_EQ(store.GetDwordNoThrow(L"Number", 5, &error), 0xFFFFFFFEU);
    EXPECT_EQ(error, 0U);
    error = 99;
    EXPECT_EQ(store.GetQwordNoThrow(L"Long", 5, &error), 0xFFFFFFFFFFFFFFFDU);
    EXPECT_EQ(error, 0U);
    error = 99;
    EXPECT_EQ(store.GetStringNoThrow(L"Text", L"default", &error), L"\x0416 text");
    EXPECT_EQ(error, 0U);
    error = 99;
    EXPECT_EQ(store.GetBinaryNoThrow(L"Bytes", read, &error), 3U);
    EXPECT_EQ(error, 0U);
}

TEST_F(RegistryTest, StoresValuesInTheirRegistryTypes)
{
    store.Create(TestKey(), L"");
    store.SetDword(L"Number", 1);
    store.SetQword(L"Long", 1);
    store.SetString(L"Text", L"ab");
    store.SetBinary(L"Bytes", {1, 2, 3});
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, subkey, 0, KEY_QUERY_VALUE, &key), ERROR_SUCCESS);
    const auto typeAndSize = [key](const wchar_t* name)
    {
        DWORD type = 0;
        DWORD size = 0;
        RegQueryValueExW(key, name, nullptr, &type, nullptr, &size);
        return std::pair(type, size);
    };
    EXPECT_EQ(typeAndSize(L"Number"), std::pair(DWORD{4}, DWORD{4}));
    EXPECT_EQ(typeAndSize(L"Long"), std::pair(DWORD{11}, DWORD{8}));
    EXPECT_EQ(typeAndSize(L"Text"), std::pair(DWORD{1}, DWORD{6})) << "with its terminator";
    EXPECT_EQ(typeAndSize(L"Bytes"), std::pair(DWORD{3}, DWORD{3}));
    RegCloseKey(key);
}

TEST_F(RegistryTest, ReadsTheUnnamedValue)
{
    store.Create(TestKey(), L"");
    store.SetString(L"", L"unnamed");
    EXPECT_EQ(store.GetString(L"", L""), L"unnamed");
}

TEST_F(RegistryTest, ReadsTextThatIsNotStoredAsTextShouldBe)
{
    using namespace std::string_literals;
    Set(L"Unterminated", REG_SZ, L"abc"s);
    Set(L"Terminated", REG_SZ, L"abc\0"s);
    Set(L"Cut", REG_SZ, L"abc\0def\0"s);
    Set(L"Empty", REG_SZ, L""s);
    Set(L"Terminator", REG_SZ, L"\0"s);
    Set(L"Odd", REG_SZ, "a\0b\0c", 5);
    Set(L"OneByte", REG_SZ, "a", 1);
    Set(L"Expandable", REG_EXPAND_SZ, L"%SystemRoot%\\x\0"s);
    Set(L"Several", REG_MULTI_SZ, L"first\0second\0\0"s);
    Set(L"None", REG_MULTI_SZ, L"\0"s);

    store.Open(TestKey(), L"");
    EXPECT_EQ(store.GetString(L"Unterminated", L"d"), L"abc");
    EXPECT_EQ(store.GetString(L"Terminated", L"d"), L"abc");
    EXPECT_EQ(store.GetString(L"Cut", L"d"), L"abc");
    EXPECT_EQ(store.GetString(L"Empty", L"d"), L"") << "and not the default";
    EXPECT_EQ(store.GetString(L"Terminator", L"d"), L"");
    EXPECT_EQ(store.GetString(L"Odd", L"d"), L"abc");
    EXPECT_EQ(store.GetString(L"OneByte", L"d"), L"a");
    EXPECT_EQ(store.GetString(L"Expandable", L"d"), L"%SystemRoot%\\x") << "nothing is expanded";
    EXPECT_EQ(store.GetString(L"Several", L"d"), L"first");
    EXPECT_EQ(store.GetString(L"None", L"d"), L"");
}

TEST_F(RegistryTest, ReadsTextOfAnyLength)
{
    store.Create(TestKey(), L"");
    for (const std::size_t length : {0, 1, 254, 255, 256, 1000, 100000})
    {
        const std::wstring text(length, L'x');
        store.SetString(L"Text", text);
        EXPECT_EQ(store.GetString(L"Text", L"d"), text);
    }
}

TEST_F(RegistryTest, ReadsBytesOfAnyNumber)
{
    store.Create(TestKey(), L"");
    for (const std::size_t length : {0, 1, 100000})
    {
        const std::vector<std::uint8_t> bytes(length, 7);
        store.SetBinary(L"Bytes", bytes);
        std::vector<std::uint8_t> read{1};
        EXPECT_EQ(store.GetBinary(L"Bytes", read), length);
        EXPECT_EQ(read, bytes);
    }
}

TEST_F(RegistryTest, RefusesAValueOfAnotherTypeOrSizeWithCode13)
{
    const std::uint64_t number = 1;
    Set(L"Dword", REG_DWORD, &number, 4);
    Set(L"Qword", REG_QWORD, &number, 8);
    Set(L"Text", REG_SZ, L"a");
    Set(L"Bytes", REG_BINARY, &number, 4);
    Set(L"None", REG_NONE, &number, 4);
    Set(L"BigEndian", REG_DWORD_BIG_ENDIAN, &number, 4);
    Set(L"ShortDword", REG_DWORD, &number, 3);
    Set(L"LongDword", REG_DWORD, &number, 8);
    Set(L"EmptyDword", REG_DWORD, &number, 0);
    Set(L"ShortQword", REG_QWORD, &number, 4);
    store.Open(TestKey(), L"");

    std::vector<std::uint8_t> bytes;
    for (const wchar_t* name :
         {L"Qword", L"Text", L"Bytes", L"None", L"BigEndian", L"ShortDword", L"LongDword", L"EmptyDword"})
    {
        EXPECT_EQ(CodeOf([&] { store.GetDword(name, 5); }), 13U) << name;
    }
    for (const wchar_t* name : {L"Dword", L"Text", L"Bytes", L"ShortQword"})
    {
        EXPECT_EQ(CodeOf([&] { store.GetQword(name); }), 13U) << name;
    }
    for (const wchar_t* name : {L"Dword", L"Qword", L"Bytes", L"None"})
    {
        EXPECT_EQ(CodeOf([&] { store.GetString(name, L"d"); }), 13U) << name;
    }
    for (const wchar_t* name : {L"Dword", L"Text", L"None"})
    {
        EXPECT_EQ(CodeOf([&] { store.GetBinary(name, bytes); }), 13U) << name;
    }
}

TEST_F(RegistryTest, TellsKeyAndNameOfAValueThatCannotBeRead)
{
    store.Create(TestKey(), L"Section");
    const auto exception = Thrown<RegException>([&] { store.GetDword(L"Missing", 5); });
    ASSERT_TRUE(exception);
    EXPECT_EQ(exception->code, 2U);
    EXPECT_EQ(exception->keyPath, L"Software\\Test\\Section");
    EXPECT_EQ(exception->valueName, L"Missing");
    EXPECT_NE(exception->line, 0U);
    EXPECT_NE(exception->sourceFile.find("VzComn_Registry.cpp"), std::string::npos);

    std::vector<std::uint8_t> bytes;
    EXPECT_TRUE(Thrown<RegException>([&] { store.GetQword(L"Missing"); }));
    EXPECT_TRUE(Thrown<RegException>([&] { store.GetString(L"Missing", L"d"); }));
    EXPECT_TRUE(Thrown<RegException>([&] { store.GetBinary(L"Missing", bytes); }));
    EXPECT_TRUE(store.SetDword(L"Missing", 7)) << "the store is still open";
    EXPECT_EQ(store.GetDword(L"Missing", 5), 7U);
}

TEST_F(RegistryTest, GivesTheDefaultWithoutThrowing)
{
    store.Create(TestKey(), L"");
    std::uint32_t error = 99;
    EXPECT_EQ(store.GetDwordNoThrow(L"Missing", 5, &error), 5U);
    EXPECT_EQ(error, 2U);
    error = 99;
    EXPECT_EQ(store.GetQwordNoThrow(L"Missing", 6, &error), 6U);
    EXPECT_EQ(error, 2U);
    error = 99;
    EXPECT_EQ(store.GetStringNoThrow(L"Missing", L"default", &error), L"default");
    EXPECT_EQ(error, 2U);
    error = 99;
    std::vector<std::uint8_t> bytes{1, 2};
    EXPECT_EQ(store.GetBinaryNoThrow(L"Missing", bytes, &error), 0U);
    EXPECT_EQ(error, 2U);

    EXPECT_EQ(store.GetDwordNoThrow(L"Missing", 5, nullptr), 5U);
    store.SetString(L"Text", L"a");
    EXPECT_EQ(store.GetDwordNoThrow(L"Text", 5, &error), 5U);
    EXPECT_EQ(error, 13U);
    store.Close(nullptr);
    EXPECT_EQ(store.GetDwordNoThrow(L"Text", 5, &error), 5U);
    EXPECT_NE(error, 0U);
}

TEST_F(RegistryTest, DeletesTheOpenKeyAndItsValues)
{
    store.Create(TestKey(), L"Section");
    store.SetDword(L"a", 7);
    EXPECT_TRUE(store.DeleteValue(std::wstring(L"a")));
    EXPECT_EQ(CodeOf([&] { store.GetDword(L"a", 0); }), 2U);
    store.SetDword(L"b", 7);
    EXPECT_TRUE(store.DeleteValue(L"b")) << "by a pointer";
    EXPECT_EQ(CodeOf([&] { store.DeleteValue(L"b"); }), 2U);

    store.OpenWrite(TestKey(), L"Section");
    EXPECT_TRUE(store.DeleteSection());
    store.Close(nullptr);
    EXPECT_EQ(CodeOf([&] { store.Open(TestKey(), L"Section"); }), 2U);
}

TEST_F(RegistryTest, DeletesTheUnnamedValueByANullPointer)
{
    store.Create(TestKey(), L"");
    store.SetString(L"", L"x");
    const wchar_t* none = nullptr;
    EXPECT_TRUE(store.DeleteValue(none));
    EXPECT_EQ(CodeOf([&] { store.GetString(L"", L""); }), 2U);
}

TEST_F(RegistryTest, KeepsAKeyThatHasSubkeys)
{
    store.Create(TestKey(), L"Section\\Below");
    store.OpenWrite(TestKey(), L"Section");
    EXPECT_EQ(CodeOf([&] { store.DeleteSection(); }), 5U);
}

TEST_F(RegistryTest, ListsSectionsAndValuesBehindWhatTheListHolds)
{
    store.Create(TestKey(), L"b");
    store.Create(TestKey(), L"a");
    store.Create(TestKey(), L"");
    store.SetDword(L"x", 1);
    store.SetString(L"", L"unnamed");
    store.OpenEnum(TestKey(), L"");
    Names sections{L"before"};
    EXPECT_TRUE(store.ListSections(sections));
    EXPECT_EQ(sections[0], L"before");
    EXPECT_THAT(sections, UnorderedElementsAre(L"before", L"a", L"b"));
    Names values;
    EXPECT_TRUE(store.ListValues(values));
    EXPECT_THAT(values, UnorderedElementsAre(L"x", L""));
}

TEST_F(RegistryTest, ListsNamesOfUpTo254Characters)
{
    const std::wstring longest(254, L'n');
    store.Create(TestKey(), longest);
    store.Create(TestKey(), L"short");
    store.OpenEnum(TestKey(), L"");
    Names names;
    EXPECT_TRUE(store.ListSections(names));
    EXPECT_THAT(names, UnorderedElementsAre(longest, L"short"))
        << "a long name leaves the room of the next alone";

    store.Create(TestKey(), L"");
    store.SetDword(longest, 1);
    store.SetDword(L"short", 1);
    store.OpenEnum(TestKey(), L"");
    names.clear();
    EXPECT_TRUE(store.ListValues(names));
    EXPECT_THAT(names, UnorderedElementsAre(longest, L"short"));
}

TEST_F(RegistryTest, FailsToListANameOf255Characters)
{
    const std::wstring tooLong(255, L'n');
    store.Create(TestKey(), tooLong);
    store.Create(TestKey(), L"");
    store.SetDword(tooLong, 1);
    store.OpenEnum(TestKey(), L"");
    Names names;
    EXPECT_EQ(CodeOf([&] { store.ListSections(names); }), 234U);
    EXPECT_EQ(CodeOf([&] { store.ListValues(names); }), 234U);
}

TEST_F(RegistryTest, ListsNothingOfAnEmptyKey)
{
    store.Create(TestKey(), L"");
    store.OpenEnum(TestKey(), L"");
    Names names;
    EXPECT_TRUE(store.ListSections(names));
    EXPECT_TRUE(store.ListValues(names));
    EXPECT_THAT(names, IsEmpty());
}

TEST_F(RegistryTest, FlushesOnCloseIfAsked)
{
    static int flushes = 0;
    const ImportPatch patch(
        nullptr, "RegFlushKey",
        +[](HKEY) -> LSTATUS
        {
            ++flushes;
            return flushes == 3 ? ERROR_DISK_FULL : ERROR_SUCCESS;
        });
    const bool yes = true;
    const bool no = false;
    store.Create(TestKey(), L"");
    EXPECT_TRUE(store.Close(&no));
    EXPECT_EQ(flushes, 0);
    store.Create(TestKey(), L"");
    EXPECT_TRUE(store.Close(&yes));
    EXPECT_EQ(flushes, 1);
    store.Create(TestKey(), L"");
    EXPECT_TRUE(store.Flush());
    EXPECT_EQ(flushes, 2);
    EXPECT_EQ(CodeOf([&] { store.Close(&yes); }), DWORD{ERROR_DISK_FULL});
    EXPECT_TRUE(store.SetDword(L"a", 1)) << "the store is still open";
}

} // namespace

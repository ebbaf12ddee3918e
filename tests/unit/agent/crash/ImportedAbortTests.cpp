#include "ImportedAbort.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace
{
constexpr ULONGLONG original = 0x1111;
constexpr ULONGLONG byOrdinal = IMAGE_ORDINAL_FLAG64 | 7;

void Replacement() {}

// A library as the loader lays it out: one imported library with two imports.
class ImageTest : public ::testing::Test
{
protected:
    template <typename Type>
    Type& At(std::size_t place)
    {
        return *reinterpret_cast<Type*>(image.data() + place);
    }

    ImageTest()
    {
        At<IMAGE_DOS_HEADER>(0).e_magic = IMAGE_DOS_SIGNATURE;
        At<IMAGE_DOS_HEADER>(0).e_lfanew = headersAt;
        IMAGE_NT_HEADERS64& headers = Headers();
        headers.Signature = IMAGE_NT_SIGNATURE;
        headers.OptionalHeader.Magic = IMAGE_NT_OPTIONAL_HDR64_MAGIC;
        headers.OptionalHeader.NumberOfRvaAndSizes = 16;
        headers.OptionalHeader.SizeOfHeaders = tableAt;
        headers.OptionalHeader.SizeOfImage = imageSize;
        headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress = tableAt;
        Table() = {{namesAt}, 0, 0, libraryAt, addressesAt};
        SetLibrary("msvcrt.dll");
        SetImports("exit", "abort");
    }

    IMAGE_NT_HEADERS64& Headers() { return At<IMAGE_NT_HEADERS64>(headersAt); }

    IMAGE_IMPORT_DESCRIPTOR& Table() { return At<IMAGE_IMPORT_DESCRIPTOR>(tableAt); }

    void SetLibrary(const char* name) { std::strcpy(&At<char>(libraryAt), name); }

    void SetImports(const char* first, const char* second)
    {
        const char* const names[] = {first, second};
        for (std::size_t i = 0; i < 2; ++i)
        {
            const std::size_t place = textsAt + i * 64;
            std::strcpy(&At<char>(place + offsetof(IMAGE_IMPORT_BY_NAME, Name)), names[i]);
            At<ULONGLONG>(namesAt + i * sizeof(ULONGLONG)) = place;
            At<ULONGLONG>(addressesAt + i * sizeof(ULONGLONG)) = original;
        }
    }

    // How many of the two are replaced: first, second.
    std::vector<bool> Replaced()
    {
        ReplaceImportedAbort(image.data(), &Replacement);
        std::vector<bool> replaced;
        for (std::size_t i = 0; i < 2; ++i)
        {
            const auto address = At<ULONGLONG>(addressesAt + i * sizeof(ULONGLONG));
            replaced.push_back(address == reinterpret_cast<ULONGLONG>(&Replacement));
            EXPECT_TRUE(replaced.back() || address == original);
        }
        return replaced;
    }

    static constexpr DWORD imageSize = 8192;
    static constexpr DWORD headersAt = 128;
    static constexpr DWORD tableAt = 1024;
    static constexpr DWORD namesAt = 2048;
    static constexpr DWORD addressesAt = 3072;
    static constexpr DWORD libraryAt = 4096;
    static constexpr DWORD textsAt = 5120;
    std::vector<BYTE> image = std::vector<BYTE>(imageSize);
};

using Two = std::vector<bool>;
} // namespace

TEST_F(ImageTest, AbortOfTheCLibraryIsReplacedAndNothingElse)
{
    EXPECT_EQ(Replaced(), (Two{false, true}));
}

TEST_F(ImageTest, AllCLibrariesCount)
{
    for (const char* name :
         {"MSVCRT.dll", "msvcr120.dll", "ucrtbase.dll", "ucrtbased.dll", "api-ms-win-crt-runtime-l1-1-0.dll"})
    {
        SetLibrary(name);
        SetImports("exit", "abort");
        EXPECT_EQ(Replaced(), (Two{false, true})) << name;
    }
}

TEST_F(ImageTest, AFunctionOfThatNameOfAnotherLibraryStays)
{
    SetLibrary("jobs.dll");
    EXPECT_EQ(Replaced(), (Two{false, false}));
}

TEST_F(ImageTest, ALongerNameStays)
{
    SetImports("abort_job", "_abort");
    EXPECT_EQ(Replaced(), (Two{false, false}));
}

TEST_F(ImageTest, AnImportByNumberIsPassedOver)
{
    At<ULONGLONG>(namesAt) = byOrdinal;
    EXPECT_EQ(Replaced(), (Two{false, true}));
}

TEST_F(ImageTest, TheSecondLibraryIsSeenToo)
{
    IMAGE_IMPORT_DESCRIPTOR& second = At<IMAGE_IMPORT_DESCRIPTOR>(tableAt + sizeof(IMAGE_IMPORT_DESCRIPTOR));
    second = Table();
    Table().OriginalFirstThunk = 0;
    EXPECT_EQ(Replaced(), (Two{false, true})) << "and the first one has no names";
}

TEST_F(ImageTest, ATableEndsAtARowWithoutAddresses)
{
    Table().FirstThunk = 0;
    EXPECT_EQ(Replaced(), (Two{false, false}));
}

TEST_F(ImageTest, NamesOutsideTheImageAreNoNames)
{
    Table().OriginalFirstThunk = imageSize;
    EXPECT_EQ(Replaced(), (Two{false, false}));
    Table().OriginalFirstThunk = 4;
    EXPECT_EQ(Replaced(), (Two{false, false}));
}

TEST_F(ImageTest, AnImageWithoutImportsStays)
{
    Headers().OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress = 0;
    EXPECT_EQ(Replaced(), (Two{false, false}));
}

TEST_F(ImageTest, AnImageWithoutThatDirectoryStays)
{
    Headers().OptionalHeader.NumberOfRvaAndSizes = 1;
    EXPECT_EQ(Replaced(), (Two{false, false}));
}

TEST_F(ImageTest, AnImageOfAnotherKindStays)
{
    Headers().OptionalHeader.Magic = IMAGE_NT_OPTIONAL_HDR32_MAGIC;
    EXPECT_EQ(Replaced(), (Two{false, false}));
    Headers().OptionalHeader.Magic = IMAGE_NT_OPTIONAL_HDR64_MAGIC;
    Headers().Signature = 0;
    EXPECT_EQ(Replaced(), (Two{false, false}));
    Headers().Signature = IMAGE_NT_SIGNATURE;
    At<IMAGE_DOS_HEADER>(0).e_magic = 0;
    EXPECT_EQ(Replaced(), (Two{false, false}));
}

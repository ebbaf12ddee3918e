// The XML layer where the system, the parser library or the memory fails it.
#include "VzComn_XmlParser.h"

#include "ImportPatch.h"
#include "ScarceMemory.h"
#include "TempDir.h"
#include "Thrown.h"
#include "VzComn_Handle.h"
#include "VzComn_XmlException.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <vector>

using testing::AnyOf;
using testing::ElementsAre;
using testing::Ge;
using testing::Pair;
using TestSupport::ImportPatch;
using TestSupport::Thrown;
using VzCommon::Storage::XmlElement;
using VzCommon::Storage::XmlException;
using VzCommon::Storage::XmlParser;
using StoreException = VzCommon::Storage::Exception;

namespace
{

struct Opening
{
    std::wstring name;
    DWORD access;
    DWORD sharing;
    bool hasAttributes;
    DWORD disposition;
    DWORD flags;
};

decltype(CreateFileW)* createFile = nullptr;
decltype(ReadFile)* readFile = nullptr;
decltype(CloseHandle)* closeHandle = nullptr;
std::vector<Opening> openings;
std::vector<DWORD> readSizes;
int goodReads = 0;
int refusals = 0;
HANDLE refused = nullptr;

HANDLE WINAPI NoteOpening(const wchar_t* name, DWORD access, DWORD sharing, SECURITY_ATTRIBUTES* attributes,
                          DWORD disposition, DWORD flags, HANDLE pattern)
{
    openings.push_back({name, access, sharing, attributes != nullptr, disposition, flags});
    return createFile(name, access, sharing, attributes, disposition, flags, pattern);
}

BOOL WINAPI FailToRead(HANDLE file, void* room, DWORD size, DWORD* count, OVERLAPPED* overlapped)
{
    readSizes.push_back(size);
    if (goodReads-- > 0)
    {
        return readFile(file, room, size, count, overlapped);
    }
    SetLastError(ERROR_CRC);
    return FALSE;
}

// Of files alone: the first closings are refused.
BOOL WINAPI RefuseToClose(HANDLE handle)
{
    if (GetFileType(handle) == FILE_TYPE_DISK && refusals-- > 0)
    {
        refused = handle;
        SetLastError(ERROR_SHARING_VIOLATION);
        return FALSE;
    }
    return closeHandle(handle);
}

// The memory of the parser library.
int goodAllocations = 0;
std::set<void*> libraryBlocks;

void* Noted(void* block)
{
    if (block != nullptr)
    {
        libraryBlocks.insert(block);
    }
    return block;
}

void* FailingMalloc(std::size_t size)
{
    return goodAllocations-- > 0 ? Noted(std::malloc(size)) : nullptr;
}

void* FailingRealloc(void* block, std::size_t size)
{
    if (goodAllocations-- <= 0)
    {
        return nullptr;
    }
    libraryBlocks.erase(block);
    return Noted(std::realloc(block, size));
}

void NotedFree(void* block)
{
    libraryBlocks.erase(block);
    std::free(block);
}

const std::string document = "<!DOCTYPE r [<!ENTITY e 'entity'>]><r one='1' two='&e;'>text<a><b name='"
                             "a text that needs memory of its own'/></a><!-- note --></r>";

class XmlParserFaultTest : public testing::Test
{
protected:
    XmlParserFaultTest()
    {
        openings.clear();
        readSizes.clear();
        parser.SetProperty(L"PathOfDll", QX_EXPAT_FOLDER);
    }

    // Whether nobody has the file open.
    [[nodiscard]] bool IsClosed() const
    {
        const VzCommon::FileHandle all(
            CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        return static_cast<bool>(all);
    }

    TestSupport::TempDir dir;
    std::wstring file = dir.Write(L"document.xml", document);
    XmlParser parser;
};

// The code of what it throws.
std::uint32_t ParseAnew(const std::wstring& file)
{
    try
    {
        XmlParser brief;
        brief.SetProperty(L"PathOfDll", QX_EXPAT_FOLDER);
        brief.Parse(file, L"/");
        XmlElement root;
        EXPECT_TRUE(brief.GetElement(L"", root));
        EXPECT_EQ(root.GetAttribute(L"two"), L"entity");
        return ERROR_SUCCESS;
    }
    catch (XmlException* caught)
    {
        return std::unique_ptr<XmlException>(caught)->code;
    }
    catch (const std::bad_alloc&)
    {
        return ERROR_OUTOFMEMORY;
    }
}

} // namespace

TEST_F(XmlParserFaultTest, OpensTheFileForReadingAndSharesIt)
{
    const ImportPatch patch(nullptr, "CreateFileW", &NoteOpening);
    createFile = patch.Original<decltype(CreateFileW)>();
    parser.Parse(file, L"/");
    ASSERT_EQ(openings.size(), 1U);
    EXPECT_EQ(openings[0].name, file);
    EXPECT_EQ(openings[0].access, 1U);
    EXPECT_EQ(openings[0].sharing, 7U);
    EXPECT_TRUE(openings[0].hasAttributes);
    EXPECT_EQ(openings[0].disposition, 4U);
    EXPECT_EQ(openings[0].flags, 128U);
}

TEST_F(XmlParserFaultTest, ReadsBlocksOf1024BytesUntilOneIsNotFull)
{
    dir.Write(L"document.xml", "<r>" + std::string(2500, 'x') + "</r>");
    const ImportPatch patch(nullptr, "ReadFile", &FailToRead);
    readFile = patch.Original<decltype(ReadFile)>();
    goodReads = 3;
    parser.Parse(file, L"/");
    EXPECT_THAT(readSizes, ElementsAre(1024U, 1024U, 1024U));
}

TEST_F(XmlParserFaultTest, ThrowsTheErrorOfARefusedReadAndClosesTheFile)
{
    dir.Write(L"document.xml", "<r/>" + std::string(2500, ' '));
    for (int reads = 0; reads < 3; ++reads)
    {
        {
            const ImportPatch patch(nullptr, "ReadFile", &FailToRead);
            readFile = patch.Original<decltype(ReadFile)>();
            goodReads = reads;
            const auto exception = Thrown<StoreException>([&] { parser.Parse(file, L"/"); });
            ASSERT_TRUE(exception) << reads;
            EXPECT_EQ(exception->code, DWORD{ERROR_CRC});
            EXPECT_EQ(dynamic_cast<XmlException*>(exception.get()), nullptr)
                << "the document is not to blame";
        }
        EXPECT_TRUE(IsClosed());
        EXPECT_EQ(GetModuleHandleW(L"libexpat.dll"), nullptr);
    }
    parser.Parse(file, L"/");
}

TEST_F(XmlParserFaultTest, ThrowsTheErrorOfARefusedCloseAndTriesAgain)
{
    {
        const ImportPatch patch(nullptr, "CloseHandle", &RefuseToClose);
        closeHandle = patch.Original<decltype(CloseHandle)>();
        refusals = 1;
        const auto exception = Thrown<XmlException>([&] { parser.Parse(file, L"/"); });
        ASSERT_TRUE(exception);
        EXPECT_EQ(exception->code, DWORD{ERROR_SHARING_VIOLATION});
        EXPECT_EQ(exception->lineOfDocument, 0U);
    }
    EXPECT_TRUE(IsClosed());
}

TEST_F(XmlParserFaultTest, GivesUpAFileThatIsNeverClosed)
{
    {
        const ImportPatch patch(nullptr, "CloseHandle", &RefuseToClose);
        closeHandle = patch.Original<decltype(CloseHandle)>();
        refusals = 1000;
        EXPECT_TRUE(Thrown<XmlException>([&] { parser.Parse(file, L"/"); }));
        parser.Close();
        EXPECT_LE(refusals, 998);
    }
    EXPECT_FALSE(IsClosed());
    EXPECT_TRUE(CloseHandle(refused));
}

// From the parser itself, code 6, by way of its encoding, 14, to the last block of the document, where it is
// the parser's own 1.
TEST_F(XmlParserFaultTest, SurvivesAParserLibraryWithoutMemory)
{
    const VzCommon::ModuleHandle library(LoadLibraryW(QX_EXPAT_FOLDER L"\\libexpat.dll"));
    ASSERT_TRUE(library);
    const ImportPatch patches[] = {{nullptr, "malloc", &FailingMalloc, library.Get()},
                                   {nullptr, "realloc", &FailingRealloc, library.Get()},
                                   {nullptr, "free", &NotedFree, library.Get()}};
    std::map<std::uint32_t, int> codes;
    for (int count = 0; codes[ERROR_SUCCESS] == 0; ++count)
    {
        goodAllocations = count;
        const auto exception = Thrown<XmlException>([&] { parser.Parse(file, L"/"); });
        ++codes[exception ? exception->code : ERROR_SUCCESS];
        EXPECT_EQ(libraryBlocks.size(), 0U) << count;
        EXPECT_EQ(exception && exception->code == 1 ? exception->errorText : "out of memory",
                  "out of memory");
        ASSERT_LT(count, 1000);
    }
    EXPECT_THAT(codes, ElementsAre(Pair(0U, 1), Pair(1U, Ge(5)), Pair(6U, Ge(2)), Pair(14U, Ge(1))));
}

TEST_F(XmlParserFaultTest, SurvivesAnyAllocationThatFails)
{
    XmlParser first; // what is made once
    first.SetProperty(L"PathOfDll", QX_EXPAT_FOLDER);
    first.Parse(file, L"/");
    std::set<std::uint32_t> codes;
    int failures = 0;
    for (bool hasFailed = true; hasFailed; ++failures)
    {
        const long long alive = BlocksAlive();
        std::uint32_t code = ERROR_SUCCESS;
        {
            const OneFailure memory(failures);
            code = ParseAnew(file);
            hasFailed = memory.HasFailed();
        }
        ASSERT_EQ(BlocksAlive(), alive) << failures;
        // Without memory for the access rights the file is opened with the system's own.
        EXPECT_THAT(code, AnyOf(ERROR_OUTOFMEMORY, ERROR_INVALID_HANDLE, ERROR_SUCCESS)) << failures;
        codes.insert(code);
    }
    EXPECT_GT(failures, 20);
    EXPECT_EQ(codes.size(), 3U);
    EXPECT_TRUE(IsClosed());
    EXPECT_EQ(GetModuleHandleW(L"libexpat.dll"), nullptr);
}

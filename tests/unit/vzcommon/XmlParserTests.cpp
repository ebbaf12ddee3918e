#include "VzComn_XmlParser.h"

#include "ImportPatch.h"
#include "ObjectCounts.h"
#include "TempDir.h"
#include "Thrown.h"
#include "VzComn_FileBase.h"
#include "VzComn_XmlException.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <vector>

using TestSupport::TempDir;
using TestSupport::Thrown;
using VzCommon::Storage::XmlElement;
using VzCommon::Storage::XmlException;
using VzCommon::Storage::XmlParser;
using StoreException = VzCommon::Storage::Exception;

namespace
{

constexpr std::uint32_t nothingThrown = 0xFFFFFFFF;

std::vector<std::wstring> g_libraries; // asked for

HMODULE WINAPI NoteLibrary(LPCWSTR path)
{
    g_libraries.emplace_back(path);
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

class XmlParserTest : public testing::Test
{
protected:
    XmlParserTest() { parser.SetProperty(L"PathOfDll", QX_EXPAT_FOLDER); }

    // Writes the bytes and parses them.
    void Parse(const std::string& bytes, const std::wstring& path = L"/")
    {
        parser.Parse(dir.Write(L"document.xml", bytes), path);
        ASSERT_TRUE(parser.GetElement(L"", root));
    }

    std::uint32_t CodeOf(const std::string& bytes, const std::wstring& path = L"/")
    {
        const std::wstring file = dir.Write(L"document.xml", bytes);
        const auto exception = Thrown<StoreException>([&] { parser.Parse(file, path); });
        return exception ? exception->code : nothingThrown;
    }

    template <typename Operation>
    static std::uint32_t XmlCodeOf(Operation operation)
    {
        const auto exception = Thrown<XmlException>(operation);
        return exception ? exception->code : nothingThrown;
    }

    TempDir dir;
    XmlParser parser;
    XmlElement root;
};

// A document of exactly that many bytes.
std::string DocumentOf(std::size_t size)
{
    const std::string frame = "<r></r>";
    return "<r>" + std::string(size - frame.size(), 'x') + "</r>";
}

} // namespace

TEST_F(XmlParserTest, KeepsElementsAttributesAndTextsInDocumentOrder)
{
    Parse("<?xml version=\"1.0\"?>\n<r b=\"2\" a=\"1\">\n  <one x=\"&lt;\">eins</one>\n  <two/>\n  "
          "<one>zwei</one>\n</r>\n");
    EXPECT_EQ(root.GetName(), L"r");
    EXPECT_EQ(root.GetAttribute(L"a"), L"1");
    EXPECT_EQ(root.GetAttribute(L"one", L"x", L""), L"<");
    EXPECT_EQ(root.FirstChild()->GetText(), L"eins");
    EXPECT_EQ(root.NextChild()->GetName(), L"two");
    EXPECT_EQ(root.NextChild()->GetText(), L"zwei");
    EXPECT_EQ(root.NextChild(), nullptr);
}

TEST_F(XmlParserTest, TakesNoTextFromWhitespaceBetweenElements)
{
    Parse("<r>\r\n\t<a>\n</a> <b>\t</b>\n  <c>\r\n \r\n</c>\n</r>");
    EXPECT_EQ(root.GetText(), L"");
    for (const wchar_t* name : {L"a", L"b", L"c"})
    {
        EXPECT_EQ(root.GetText(name, L"missing"), L"") << name;
    }
}

TEST_F(XmlParserTest, JoinsTheTextAroundChildrenAndLosesLineBreaks)
{
    Parse("<r>one\ntwo<x/> three <!-- no -->four<?no?><![CDATA[<five>]]>&#10;six&amp;</r>");
    EXPECT_EQ(root.GetText(), L"onetwo three four<five>six&");
}

TEST_F(XmlParserTest, TakesTheElementAtThePath)
{
    const std::string document = "<r><a><b>no</b></a><a><c><b>deep</b></c><b>first</b><b>second</b></a></r>";
    Parse(document, L"/r/a");
    EXPECT_EQ(root.GetText(L"b", L""), L"no");
    Parse(document, L"/r/a/c/b");
    EXPECT_EQ(root.GetText(), L"deep") << "in the second of that name";
    Parse(document, L"/r");
    EXPECT_EQ(root.GetName(), L"r");
}

TEST_F(XmlParserTest, FailsWithCode38ForAPathThatLeadsNowhere)
{
    EXPECT_EQ(CodeOf("<r><a/></r>", L"/r/b"), 38U);
    EXPECT_EQ(CodeOf("<r><a/></r>", L"/a"), 38U) << "a path begins at the document's first element";
    EXPECT_EQ(CodeOf("<r><a/></r>", L"/r/a/r"), 38U);
}

TEST_F(XmlParserTest, RefusesAPathWithoutASlashAtItsBeginning)
{
    for (const wchar_t* path : {L"", L"r", L"r/a", L"./r"})
    {
        EXPECT_EQ(CodeOf("<r><a/></r>", path), 87U) << path;
    }
}

TEST_F(XmlParserTest, TakesTheLibrarysFolderWithAndWithoutABackslash)
{
    const TestSupport::ImportPatch load(nullptr, "LoadLibraryW", &NoteLibrary);
    g_libraries.clear();
    for (const wchar_t* folder : {L"C:\\nowhere", L"C:\\nowhere\\"})
    {
        parser.SetProperty(L"PathOfDll", folder);
        EXPECT_EQ(CodeOf("<r/>"), 126U) << folder;
    }
    const std::wstring library = L"C:\\nowhere\\libexpat.dll";
    EXPECT_EQ(g_libraries, (std::vector<std::wstring>{library, library}));
}

TEST_F(XmlParserTest, ForgetsItsPropertiesWithClose)
{
    parser.SetProperty(L"Encoding", L"UTF-8");
    EXPECT_EQ(CodeOf("<r/>"), 87U);
    parser.Close();
    parser.SetProperty(L"PathOfDll", QX_EXPAT_FOLDER);
    EXPECT_EQ(CodeOf("<r/>"), nothingThrown);

    parser.Close();
    const TestSupport::ImportPatch load(nullptr, "LoadLibraryW", &NoteLibrary);
    g_libraries.clear();
    EXPECT_EQ(CodeOf("<r/>"), 126U);
    EXPECT_EQ(g_libraries, std::vector<std::wstring>{L".\\libexpat.dll"}) << "the default";
}

TEST_F(XmlParserTest, IgnoresOtherProperties)
{
    parser.SetProperty(L"encoding", L"nonsense");
    parser.SetProperty(L"Path", std::wstring(1000, L'x'));
    EXPECT_EQ(CodeOf("<r/>"), nothingThrown);
}

TEST_F(XmlParserTest, RefusesPropertiesThatAreEmptyOrTooLong)
{
    EXPECT_EQ(XmlCodeOf([&] { parser.SetProperty(L"", L"x"); }), 160U);
    EXPECT_EQ(XmlCodeOf([&] { parser.SetProperty(L"Encoding", L""); }), 160U);
    EXPECT_EQ(XmlCodeOf([&] { parser.SetProperty(L"PathOfDll", std::wstring(260, L'x')); }), 122U);
    EXPECT_EQ(CodeOf("<r/>"), nothingThrown) << "what was set before holds";
    EXPECT_EQ(XmlCodeOf([&] { parser.SetProperty(L"PathOfDll", std::wstring(259, L'x')); }), nothingThrown);
    EXPECT_EQ(XmlCodeOf([&] { parser.Parse(std::wstring(260, L'x'), L"/"); }), 122U);
}

TEST_F(XmlParserTest, ReadsEveryEncodingThatItKnows)
{
    parser.SetProperty(L"Encoding", L"UTF8");
    Parse("<r>\xC3\xBC\xF0\x9F\x98\x80</r>");
    EXPECT_EQ(root.GetText(), L"\u00FC\xD83D\xDE00");
    parser.SetProperty(L"Encoding", L"ISO_8859_1");
    Parse("<r>\xFC</r>");
    EXPECT_EQ(root.GetText(), L"\u00FC");
    parser.SetProperty(L"Encoding", L"US_ASCII");
    Parse("<r>u</r>");
    EXPECT_EQ(root.GetText(), L"u");
    EXPECT_EQ(CodeOf("<r>\xFC</r>"), 4U) << "beyond ASCII";
    const std::wstring wide = L"\xFEFF<r>\u00FC\xD83D\xDE00</r>";
    parser.SetProperty(L"Encoding", L"UTF16");
    Parse({reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(wchar_t)});
    EXPECT_EQ(root.GetText(), L"\u00FC\xD83D\xDE00");
}

TEST_F(XmlParserTest, RefusesAnEncodingThatItDoesNotKnow)
{
    for (const wchar_t* encoding : {L"UTF-8", L"utf8", L"UTF8 ", L"ISO-8859-1"})
    {
        parser.SetProperty(L"Encoding", encoding);
        EXPECT_EQ(CodeOf("<r/>"), 87U) << encoding;
    }
}

TEST_F(XmlParserTest, CountsItsEncodingForMoreThanTheDocuments)
{
    EXPECT_EQ(CodeOf("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r>\xFC</r>"), 4U);
    Parse("\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r>\xC3\xBC</r>");
    EXPECT_EQ(root.GetText(), L"\u00FC");
}

TEST_F(XmlParserTest, FailsWithCode38ForAnEmptyFileAndMakesAMissingOne)
{
    EXPECT_EQ(CodeOf(""), 38U);
    const std::wstring missing = dir.Path(L"missing.xml");
    const auto exception = Thrown<StoreException>([&] { parser.Parse(missing, L"/"); });
    ASSERT_TRUE(exception);
    EXPECT_EQ(exception->code, 38U);
    EXPECT_EQ(dynamic_cast<XmlException*>(exception.get()), nullptr);
    EXPECT_TRUE(VzCommon::Storage::FileBase::Exists(missing));
    EXPECT_EQ(XmlCodeOf([&] { parser.Parse(dir.Path(L"nowhere\\a.xml"), L"/"); }), 3U);
}

TEST_F(XmlParserTest, OpensTheFileBeforeItLooksAtPathLibraryAndEncoding)
{
    parser.SetProperty(L"PathOfDll", dir.Path());
    parser.SetProperty(L"Encoding", L"UTF-8");
    const std::wstring missing = dir.Path(L"missing.xml");
    EXPECT_EQ(XmlCodeOf([&] { parser.Parse(missing, L"x"); }), 87U);
    EXPECT_TRUE(VzCommon::Storage::FileBase::Exists(missing));
    EXPECT_EQ(XmlCodeOf([&] { parser.Parse(missing, L"/"); }), 126U);
}

// Deliberate behaviour: the last full block is not known to be the last.
TEST_F(XmlParserTest, FailsWithCode38ForFilesOfWholeBlocks)
{
    for (const std::size_t size : {1024U, 2048U, 10240U})
    {
        EXPECT_EQ(CodeOf(DocumentOf(size)), 38U) << size;
        EXPECT_EQ(CodeOf(DocumentOf(size - 1)), nothingThrown) << size;
        EXPECT_EQ(CodeOf(DocumentOf(size + 1)), nothingThrown) << size;
    }
}

TEST_F(XmlParserTest, ReadsTextThatSpansBlocksWhole)
{
    std::string text;
    for (int i = 0; i < 3000; ++i)
    {
        text += "\xC3\xBC" + std::to_string(i);
    }
    Parse("<r>" + text + "</r>");
    EXPECT_EQ(root.GetText().substr(0, 4), L"\u00FC0\u00FC1");
    EXPECT_EQ(root.GetText().size(), 3000U + 10 + 180 + 2700 + 8000);
}

TEST_F(XmlParserTest, TellsTheParsersOwnErrorWithItsPlace)
{
    const std::wstring file = dir.Write(L"document.xml", "<r>\n  <a></b>\n</r>");
    const auto exception = Thrown<XmlException>([&] { parser.Parse(file, L"/"); });
    ASSERT_TRUE(exception);
    EXPECT_EQ(exception->code, 7U);
    EXPECT_EQ(exception->lineOfDocument, 2U);
    EXPECT_EQ(exception->columnOfDocument, 7U);
    EXPECT_EQ(exception->errorText, "mismatched tag");
}

TEST_F(XmlParserTest, RefusesWhatIsNotWellFormedAnywhereInTheFile)
{
    EXPECT_EQ(CodeOf("<r><a>"), 3U) << "cut";
    EXPECT_EQ(CodeOf(" \n"), 3U) << "blank";
    EXPECT_EQ(CodeOf("<r a=\"1\" a=\"2\"/>"), 8U);
    EXPECT_EQ(CodeOf("<r>&undeclared;</r>"), 11U);
    EXPECT_EQ(CodeOf("<r/>junk"), 9U);
    EXPECT_EQ(CodeOf("<r/>" + std::string(3000, '\n') + "junk"), 9U) << "in a later block";
    EXPECT_EQ(CodeOf(std::string("<r>\0</r>", 8)), 4U);
}

TEST_F(XmlParserTest, FetchesNothingForADocumentType)
{
    Parse("<!DOCTYPE r SYSTEM \"file:///c:/nowhere.dtd\"><r>text</r>");
    EXPECT_EQ(root.GetText(), L"text");
    Parse("<!DOCTYPE r [<!ENTITY e SYSTEM \"nowhere.txt\"><!ENTITY i \"inner\">]><r a=\"&i;\">x&e;y&i;z</r>");
    EXPECT_EQ(root.GetText(), L"xyz") << "entities are not expanded in text";
    EXPECT_EQ(root.GetAttribute(L"a"), L"inner");
}

TEST_F(XmlParserTest, BoundsTheGrowthOfEntities)
{
    std::string document = "<!DOCTYPE r [<!ENTITY e0 \"aaaaaaaaaa\">";
    for (int i = 1; i < 12; ++i)
    {
        document += "<!ENTITY e" + std::to_string(i) + " \"";
        for (int copy = 0; copy < 10; ++copy)
        {
            document += "&e" + std::to_string(i - 1) + ";";
        }
        document += "\">";
    }
    EXPECT_EQ(CodeOf(document + "]><r a=\"&e11;\"/>"), 43U);
    EXPECT_EQ(CodeOf(document + "]><r>&e11;</r>"), nothingThrown);
}

TEST_F(XmlParserTest, ReadsAnyDepth)
{
    constexpr std::size_t depth = 100000;
    std::string document;
    for (std::size_t i = 0; i < depth; ++i)
    {
        document += "<e>";
    }
    for (std::size_t i = 0; i < depth; ++i)
    {
        document += "</e>";
    }
    Parse(document);
    std::size_t found = 1;
    for (XmlElement* element = root.FirstChild(); element != nullptr; element = element->FirstChild())
    {
        ++found;
    }
    EXPECT_EQ(found, depth);
}

TEST_F(XmlParserTest, FailsAtEachTruncationAndParsesAgain)
{
    std::string document = "<r>";
    for (int i = 0; i < 150; ++i)
    {
        document += "<item id=\"" + std::to_string(i) + "\">text</item>";
    }
    document += "</r>";
    for (std::size_t size = 0; size < document.size(); size += 100)
    {
        EXPECT_NE(CodeOf(document.substr(0, size)), nothingThrown) << size;
    }
    EXPECT_EQ(CodeOf(document), nothingThrown);
}

TEST_F(XmlParserTest, NeedsALibraryWithAllItsExports)
{
    parser.SetProperty(L"PathOfDll", dir.Path());
    EXPECT_EQ(CodeOf("<r/>"), 126U);
    ASSERT_TRUE(CopyFileW(L"C:\\windows\\system32\\version.dll", dir.Path(L"libexpat.dll").c_str(), TRUE));
    EXPECT_EQ(CodeOf("<r/>"), 127U);
}

TEST_F(XmlParserTest, GivesPartsOfTheTreeAndNothingAfterClose)
{
    Parse("<r><a><b>text</b></a></r>");
    XmlElement part;
    EXPECT_TRUE(parser.GetElement(L"a/b", part));
    EXPECT_EQ(part.GetText(), L"text");
    EXPECT_FALSE(parser.GetElement(L"c", part));
    parser.Close();
    EXPECT_FALSE(parser.GetElement(L"", part));
    EXPECT_EQ(root.GetText(L"a/b", L""), L"text") << "the copy is the caller's";
    EXPECT_EQ(CodeOf("<r/>"), 126U) << "the properties are forgotten";
}

TEST_F(XmlParserTest, LeavesNothingOpen)
{
    const std::wstring good = dir.Write(L"good.xml", "<r/>");
    const std::wstring bad = dir.Write(L"bad.xml", "<r>");
    EXPECT_EQ(TestSupport::GrowthOf(
                  [&]
                  {
                      XmlParser brief;
                      brief.SetProperty(L"PathOfDll", QX_EXPAT_FOLDER);
                      brief.Parse(good, L"/");
                      EXPECT_EQ(XmlCodeOf([&] { brief.Parse(bad, L"/"); }), 3U);
                      EXPECT_EQ(XmlCodeOf([&] { brief.Parse(good, L"x"); }), 87U);
                  }),
              "");
    EXPECT_TRUE(DeleteFileW(bad.c_str()));
    EXPECT_EQ(GetModuleHandleW(L"libexpat.dll"), nullptr);
}

#include "VzComn_XmlParserExpat.h"

#include "Thrown.h"
#include "VzComn_XmlException.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

using testing::ElementsAre;
using TestSupport::Thrown;
using VzCommon::Storage::XmlEvent;
using VzCommon::Storage::XmlException;
using VzCommon::Storage::XmlOption;
using VzCommon::Storage::XmlParserExpat;
using VzCommon::Storage::XmlParserExpatBase;

namespace
{

XmlOption OptionOf(const std::wstring& text)
{
    XmlOption option{};
    std::ranges::copy(text, option.begin());
    return option;
}

bool Open(XmlParserExpat& source, const std::wstring& encoding = L"UTF8")
{
    return source.Open(OptionOf(L"document.xml"), OptionOf(encoding), OptionOf(QX_EXPAT_FOLDER));
}

void Feed(XmlParserExpat& source, const std::string& bytes, bool isLast)
{
    source.Feed(bytes.data(), bytes.size(), isLast);
}

// Each event as its number and its text.
std::vector<std::wstring> Take(XmlParserExpat& source)
{
    std::vector<std::wstring> events;
    XmlEvent event;
    while (source.NextEvent(event))
    {
        events.push_back(std::to_wstring(static_cast<int>(event.kind)) + L' ' + event.text);
    }
    return events;
}

// Notes the hooks that the event source itself leaves empty.
class Hooks : public XmlParserExpat
{
public:
    void OnProcessingInstruction(const char* target, const char* data) override { Note("pi", target, data); }

    void OnUnparsedEntityDecl(const char* entityName, const char* /*base*/, const char* systemId,
                              const char* /*publicId*/, const char* notationName) override
    {
        Note("unparsed", entityName, systemId, notationName);
    }

    int OnNotStandalone() override
    {
        Note("not standalone");
        return XmlParserExpat::OnNotStandalone();
    }

    int OnExternalEntityRef(const char* context, const char* base, const char* systemId,
                            const char* publicId) override
    {
        Note("external", systemId);
        return XmlParserExpat::OnExternalEntityRef(context, base, systemId, publicId);
    }

    void OnNotationDecl(const char* notationName, const char* /*base*/, const char* systemId,
                        const char* /*publicId*/) override
    {
        Note("notation", notationName, systemId);
    }

    std::vector<std::string> notes;

private:
    template <typename... Texts>
    void Note(const char* what, Texts... texts)
    {
        std::string note = what;
        ((note += std::string(" ") + texts), ...);
        notes.push_back(note);
    }
};

class ThrowingHooks : public XmlParserExpat
{
public:
    void OnComment(const char* text) override
    {
        if (std::string(text) == "memory")
        {
            throw std::bad_alloc();
        }
        VZ_THROW(XmlException, 4711);
    }
};

} // namespace

TEST(XmlParserExpatTest, GivesTheEventsInDocumentOrder)
{
    XmlParserExpat source;
    ASSERT_TRUE(Open(source));
    Feed(source, "<r a='1' b='2'>text<!--note--><x/>", false);
    XmlEvent event;
    ASSERT_TRUE(source.NextEvent(event));
    EXPECT_EQ(event.kind, XmlEvent::Kind::StartElement);
    EXPECT_THAT(event.attributes.List(), ElementsAre(std::pair(L"a", L"1"), std::pair(L"b", L"2")));
    EXPECT_THAT(Take(source), ElementsAre(L"3 text", L"4 note", L"1 x", L"2 x"));
    EXPECT_FALSE(source.IsFinished());
    Feed(source, "<![CDATA[c]]></r>", true);
    EXPECT_THAT(Take(source), ElementsAre(L"5 <![CDATA[", L"3 c", L"5 ]]>", L"2 r"));
    EXPECT_TRUE(source.IsFinished());
}

TEST(XmlParserExpatTest, ThrowsCode259WhenThereAreNoMoreEvents)
{
    XmlParserExpat source;
    ASSERT_TRUE(Open(source));
    Feed(source, "<r/>", true);
    source.ProcessEvents();
    source.ProcessEvents();
    const auto exception = Thrown<XmlException>([&] { source.ProcessEvents(); });
    ASSERT_TRUE(exception);
    EXPECT_EQ(exception->code, 259U);
}

TEST(XmlParserExpatTest, OpensOnceUntilItIsClosed)
{
    XmlParserExpat source;
    EXPECT_TRUE(Open(source));
    EXPECT_FALSE(Open(source));
    EXPECT_EQ(source.LoadLibrary(), 5010U);
    source.Close();
    EXPECT_TRUE(Open(source));
    Feed(source, "<r/>", true);
}

TEST(XmlParserExpatTest, UndoesWhatAFailedOpeningHasDone)
{
    XmlParserExpat source;
    const auto exception = Thrown<XmlException>([&] { Open(source, L"UTF-8"); });
    ASSERT_TRUE(exception);
    EXPECT_EQ(exception->code, 87U);
    EXPECT_EQ(exception->errorText, "");
    EXPECT_EQ(GetModuleHandleW(L"libexpat.dll"), nullptr);
    EXPECT_TRUE(Open(source));
}

TEST(XmlParserExpatTest, TellsTheStateOfTheParser)
{
    XmlParserExpat source;
    EXPECT_FALSE(source.IsInitialized() || source.IsParsing() || source.IsFinished() || source.IsSuspended());
    ASSERT_TRUE(Open(source));
    EXPECT_TRUE(source.IsInitialized());
    Feed(source, "<r>", false);
    EXPECT_TRUE(source.IsParsing());
    void* const buffer = source.GetBuffer(4);
    ASSERT_NE(buffer, nullptr);
    std::copy_n("</r>", 4, static_cast<char*>(buffer));
    EXPECT_TRUE(source.ParseBuffer(4, true));
    EXPECT_TRUE(source.IsFinished());
    EXPECT_FALSE(source.IsParsing() || source.IsSuspended());
    EXPECT_FALSE(source.Resume()) << "nothing is suspended";
}

TEST(XmlParserExpatTest, CallsAHookForEverythingElse)
{
    Hooks source;
    ASSERT_TRUE(Open(source));
    Feed(source,
         "<!DOCTYPE r SYSTEM 'r.dtd' [<!NOTATION n SYSTEM 'n'><!ENTITY p SYSTEM 'p.gif' NDATA n>"
         "<!ENTITY e SYSTEM 'e.txt'>]><?do it?><r>&e;</r>",
         true);
    EXPECT_THAT(source.notes, ElementsAre("not standalone", "notation n n", "unparsed p p.gif n", "pi do it",
                                          "external e.txt"));
}

TEST(XmlParserExpatTest, EndsWithTheErrorOfAHookThatThrows)
{
    for (const auto& [text, code] : {std::pair("<r><!--x--><a/></r>", 4711U), {"<!--memory--><r/>", 14U}})
    {
        ThrowingHooks source;
        ASSERT_TRUE(Open(source));
        const auto exception = Thrown<XmlException>([&, document = text] { Feed(source, document, true); });
        ASSERT_TRUE(exception) << text;
        EXPECT_EQ(exception->code, code);
    }
}

TEST(XmlParserExpatTest, TakesABlockForWhitespaceByItsRules)
{
    const XmlParserExpatBase base;
    for (const std::string block : {"", "\n", "\r", " ", "\t", "\r\n", "  ", "\t ", " \r", "\r\r", "   \t"})
    {
        EXPECT_TRUE(base.IsWhitespace(block.data(), static_cast<int>(block.size()))) << block.size();
    }
    // Deliberate: a line feed in a longer block makes it text.
    for (const std::string block : {"x", "\n\n", "\n\r", " \n", "\r\n ", " x", "x ", "\v"})
    {
        EXPECT_FALSE(base.IsWhitespace(block.data(), static_cast<int>(block.size()))) << block;
    }
}

TEST(XmlParserExpatTest, FindsTheFirstEndTagOrCommentEnd)
{
    const XmlParserExpatBase base;
    const auto length = [&](const std::string& bytes)
    { return base.TrimmedLength(bytes.data(), bytes.size()); };
    EXPECT_EQ(length("text</a>"), 4U);
    EXPECT_EQ(length("text--></a>"), 4U);
    EXPECT_EQ(length("</a>-->"), 0U);
    EXPECT_EQ(length("text<a/>--"), 10U);
    EXPECT_EQ(length(""), 0U);
}

#include "JsonTrees.h"
#include "LogCapture.h"
#include "ObjectCounts.h"
#include "TempDir.h"
#include "VzComn_Handle.h"

#include <windows.h>

#include <vector>

using QxCommon::JsonDb;
using TestSupport::LogCapture;
using TestSupport::TempDir;
using namespace std::string_literals;

namespace
{

using Lines = std::vector<std::wstring>;

constexpr std::size_t blockSize = 256U * 1024U; // of the reading; files are made to cross it

VzCommon::FileHandle OpenFile(const std::wstring& path, DWORD access, DWORD sharing)
{
    return VzCommon::FileHandle(
        CreateFileW(path.c_str(), access, sharing, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// Files that can be opened. No statement is written for any of them, whatever they hold.
class JsonFileTest : public testing::Test
{
protected:
    ~JsonFileTest() override { EXPECT_EQ(m_log.Texts(), Lines{}); }

    // Reads a file of these bytes into a handle that held something else.
    JsonDb Read(std::string_view bytes)
    {
        JsonDb tree = Tree(LR"({"earlier":1})");
        EXPECT_EQ(JsonDb::ParseFromFile(m_folder.Write(L"file.json", bytes), tree), Status::Success);
        return tree;
    }

    std::wstring Rest(std::string_view bytes)
    {
        JsonDb tree = Tree(LR"({"earlier":1})");
        EXPECT_EQ(JsonDb::ParseFromFile(m_folder.Write(L"file.json", bytes), tree), Status::Success);
        EXPECT_EQ(tree.LastError(), invalidParameter);
        return Text(tree);
    }

    LogCapture m_log;
    TempDir m_folder;
};

// Files that cannot be opened.
class JsonFileFailureTest : public testing::Test
{
protected:
    void ExpectFailure(const std::wstring& path, DWORD error)
    {
        JsonDb tree = Tree(LR"({"earlier":1})");
        EXPECT_EQ(JsonDb::ParseFromFile(path, tree), Status::FileNotOpened);
        EXPECT_EQ(m_log.Texts(), Lines{L"QxCommon: [ERROR] failed to open file <" + path + L">, error = " +
                                       std::to_wstring(error)});
        EXPECT_EQ(Text(tree), LR"({"earlier":1})") << "left as it was";
    }

    LogCapture m_log;
    TempDir m_folder;
};

} // namespace

TEST_F(JsonFileFailureTest, TellsThatTheFileIsMissing)
{
    ExpectFailure(m_folder.Path(L"missing.json"), ERROR_FILE_NOT_FOUND);
}

TEST_F(JsonFileFailureTest, TellsThatTheFolderIsMissing)
{
    ExpectFailure(m_folder.Path(L"missing\\file.json"), ERROR_PATH_NOT_FOUND);
}

TEST_F(JsonFileFailureTest, TellsThatThePathIsAFolder)
{
    ExpectFailure(m_folder.Path(), ERROR_ACCESS_DENIED);
}

TEST_F(JsonFileFailureTest, TellsThatTheFileIsLocked)
{
    const std::wstring path = m_folder.Write(L"locked.json", "{}");
    const VzCommon::FileHandle lock = OpenFile(path, GENERIC_READ, 0);
    ASSERT_TRUE(lock);
    ExpectFailure(path, ERROR_SHARING_VIOLATION);
}

TEST_F(JsonFileFailureTest, WritesThePathAsItStands)
{
    ExpectFailure(m_folder.Path(L"100%d %s \xE4\x20AC.json"), ERROR_FILE_NOT_FOUND);
}

TEST_F(JsonFileTest, ReadsPlainText)
{
    EXPECT_EQ(Text(Read(R"({"a":[1,"text"]})")), LR"({"a":[1,"text"]})");
    EXPECT_EQ(Text(Read("7")), L"7");
    EXPECT_EQ(Read("null").LastError(), 0U);
}

TEST_F(JsonFileTest, ReadsUtf8)
{
    JsonDb tree = Read("{\"\xC3\xA4\":\"\xE2\x82\xAC\xF0\x9F\x98\x80\"}");
    EXPECT_EQ(tree[L"\xE4"].AsString(), L"\x20AC\xD83D\xDE00");
}

TEST_F(JsonFileTest, TakesComments)
{
    EXPECT_EQ(Text(Read("// one\r\n{ /* two */ \"a\":1 }\r\n// three")), LR"({"a":1})");
}

TEST_F(JsonFileTest, CallsAFileWithoutJsonASuccessWithANullRoot)
{
    for (const std::string_view bytes :
         {"", " ", "\r\n", "plain words", "}", "<xml/>", "\x89PNG\r\n\x1A\n", "QXJSOND"})
    {
        EXPECT_EQ(Rest(bytes), L"null") << bytes;
    }
}

TEST_F(JsonFileTest, DoesNotStripAByteOrderMark)
{
    EXPECT_EQ(Rest("\xEF\xBB\xBF{\"a\":1}"), L"null");
    EXPECT_EQ(Rest("\xFF\xFE{\0\"\0a\0\"\0:\0\x31\0}\0"s), L"null");
}

TEST_F(JsonFileTest, KeepsWhatStandsBeforeTheFirstError)
{
    EXPECT_EQ(Rest(R"({"startMode":{"a":1},)"), LR"({"startMode":{"a":1}})");
    EXPECT_EQ(Rest(R"({"startMode":{"a":[5,]}})"), LR"({"startMode":{"a":[5,null]}})");
}

TEST_F(JsonFileTest, SurvivesACutAtEveryByte)
{
    const std::string whole =
        "{\r\n  // \xC3\xA4\r\n  \"startMode\": { \"item\": { \"modeId\": [1, 5] } },\r\n"
        "  \"last\": \"\xF0\x9F\x98\x80\" /* end */\r\n}";
    for (std::size_t length = 0; length < whole.size(); ++length)
    {
        JsonDb tree;
        ASSERT_EQ(JsonDb::ParseFromFile(m_folder.Write(L"cut.json", whole.substr(0, length)), tree),
                  Status::Success);
        ASSERT_EQ(tree.LastError(), invalidParameter) << length;
        if (length >= whole.find("\"last\""))
        {
            ASSERT_EQ(tree[L"startMode"][L"item"][L"modeId"][1].AsInt(), 5) << length;
        }
    }
    EXPECT_EQ(Read(whole)[L"last"].AsString(), L"\xD83D\xDE00");
}

TEST_F(JsonFileTest, ReadsLineBreaksAsOneCharacterAlsoInsideStrings)
{
    EXPECT_EQ(Read("\"a\r\nb\"").AsString(), L"a\nb");
    EXPECT_EQ(Read("\"a\rb\n\"").AsString(), L"a\rb\n");
    EXPECT_EQ(Read("\"a\r\r\nb\"").AsString(), L"a\r\nb");
    EXPECT_EQ(Read("7\r").AsInt(), 7);
}

TEST_F(JsonFileTest, EndsAtAControlZ)
{
    EXPECT_EQ(Text(Read("7\x1A garbage")), L"7");
    EXPECT_EQ(Rest("[1,\x1A 2]"), L"[1,null]");
    EXPECT_EQ(Rest("\x1A{}"), L"null");
    const std::string beyondABlock(blockSize + 10, 'x');
    EXPECT_EQ(Rest(Quoted(beyondABlock + "\x1A" + beyondABlock)), L"null");
}

TEST_F(JsonFileTest, EndsAtANul)
{
    EXPECT_EQ(Text(Read("7\0 garbage"s)), L"7");
    EXPECT_EQ(Rest("\"a\0b\""s), L"null");
    EXPECT_EQ(Rest("\0{}"s), L"null");
}

TEST_F(JsonFileTest, TakesBytesThatAreNoUtf8)
{
    JsonDb tree = Read("{\"before\":1,\"name\":\"M\xFCller.\",\"behind\":2}");
    EXPECT_EQ(tree[L"before"].AsInt(), 1);
    EXPECT_EQ(tree[L"behind"].AsInt(), 2);
    EXPECT_NE(tree[L"name"].AsString().find(L'\xFFFD'), std::wstring::npos);
}

TEST_F(JsonFileTest, ReadsLineBreaksAndSequencesThatCrossItsBlocks)
{
    for (std::size_t shift = 0; shift < 6; ++shift)
    {
        const std::size_t count = blockSize - 4 + shift;
        const std::wstring filling(count, L'x');
        const std::string narrow(count, 'x');
        const std::string broken = narrow + "\r\n" + narrow + "\r\n";
        EXPECT_EQ(Read(Quoted(broken)).AsString(), filling + L"\n" + filling + L"\n") << shift;
        EXPECT_EQ(Read(Quoted(narrow + "\xF0\x9F\x98\x80")).AsString(), filling + L"\xD83D\xDE00") << shift;
    }
}

TEST_F(JsonFileTest, ReadsTenMegabytes)
{
    std::string bytes = "[\"\"";
    std::uint32_t count = 1;
    while (bytes.size() < 10U * 1024U * 1024U)
    {
        bytes += ",\r\n  {\"name\" : \"item\", \"number\" : 12345}";
        ++count;
    }
    bytes += "]";
    JsonDb tree = Read(bytes);
    EXPECT_EQ(tree.LastError(), 0U);
    EXPECT_EQ(tree.Size(), count);
    EXPECT_EQ(tree[count - 1][L"number"].AsInt(), 12345);
}

TEST_F(JsonFileTest, TakesAThousandLevelsAndRefusesOneMore)
{
    EXPECT_EQ(Read(std::string(1000, '[') + std::string(1000, ']')).LastError(), 0U);
    EXPECT_TRUE(Rest(std::string(1001, '[') + std::string(1001, ']')).starts_with(std::wstring(1000, L'[')));
}

TEST_F(JsonFileTest, SharesTheFileWithReadersAndWriters)
{
    const std::wstring path = m_folder.Write(L"shared.json", "[1]");
    const VzCommon::FileHandle writer =
        OpenFile(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    ASSERT_TRUE(writer);
    JsonDb tree;
    EXPECT_EQ(JsonDb::ParseFromFile(path, tree), Status::Success);
    EXPECT_EQ(Text(tree), L"[1]");
}

TEST_F(JsonFileTest, TakesAnyPath)
{
    JsonDb tree;
    EXPECT_EQ(JsonDb::ParseFromFile(m_folder.Write(L"\xE4\x20AC\xD83D\xDE00 file.json", "[1]"), tree),
              Status::Success);
    EXPECT_EQ(Text(tree), L"[1]");
}

TEST_F(JsonFileTest, ReadsIntoTheNodeThatTheHandleStandsOn)
{
    JsonDb root = Tree(LR"({"a":1,"b":2})");
    EXPECT_EQ(JsonDb::ParseFromFile(m_folder.Write(L"file.json", "[3]"), root[L"a"]), Status::Success);
    EXPECT_EQ(Text(root), LR"({"a":[3],"b":2})");
}

TEST_F(JsonFileTest, ReportsAHandleWithoutANodeByItsErrorOnly)
{
    JsonDb number = Tree(L"7");
    JsonDb noNode(number[L"a"]);
    EXPECT_EQ(JsonDb::ParseFromFile(m_folder.Write(L"file.json", "[3]"), noNode), Status::Success);
    EXPECT_EQ(noNode.LastError(), invalidParameter);
    EXPECT_EQ(Text(number), L"7");
}

TEST_F(JsonFileTest, KeepsNoHandleOpen)
{
    const std::wstring path = m_folder.Write(L"file.json", "[1");
    EXPECT_EQ(TestSupport::GrowthOf(
                  [&path]
                  {
                      JsonDb tree;
                      (void)JsonDb::ParseFromFile(path, tree);
                  }),
              "");
    EXPECT_TRUE(DeleteFileW(path.c_str()));
}

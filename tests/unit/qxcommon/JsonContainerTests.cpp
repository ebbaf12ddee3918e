#include "Container.h"
#include "JsonTrees.h"
#include "LogCapture.h"
#include "TempDir.h"

#include <algorithm>
#include <vector>

using QxCommon::JsonDb;
using TestSupport::LogCapture;
using TestSupport::TempDir;
using namespace std::string_literals;

namespace
{

// Damaged or not, a container is a file that could be opened; no statement is written for any of them.
class JsonContainerTest : public testing::Test
{
protected:
    ~JsonContainerTest() override { EXPECT_EQ(m_log.Texts(), std::vector<std::wstring>{}); }

    JsonDb Read(const std::string& bytes)
    {
        JsonDb tree = Tree(LR"({"earlier":1})");
        EXPECT_EQ(JsonDb::ParseFromFile(m_folder.Write(L"file.json", bytes), tree), Status::Success);
        return tree;
    }

    LogCapture m_log;
    TempDir m_folder;
};

std::string Upper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'f' ? c - 32 : c; });
    return text;
}

} // namespace

TEST_F(JsonContainerTest, ReadsEncipheredText)
{
    const std::string text = "// \xC3\xA4\n{\"a\":[1,\"\xE2\x82\xAC\"]}";
    const std::wstring parsed = L"{\"a\":[1,\"\\u20ac\"]}";
    EXPECT_EQ(Text(Read(Container::Of(text))), parsed);
    EXPECT_EQ(Text(Read(Upper(Container::Of(text)))), parsed) << "digits of either case";
}

TEST_F(JsonContainerTest, ReadsEveryLengthAroundABlock)
{
    for (std::size_t length = 2; length < 50; ++length)
    {
        const std::string text = Quoted(std::string(length - 2, 'x'));
        ASSERT_EQ(Read(Container::Of(text)).AsString(), std::wstring(length - 2, L'x')) << length;
    }
}

TEST_F(JsonContainerTest, ReadsTheMagicAloneAsAnEmptyText)
{
    JsonDb tree = Read(std::string(Container::magic));
    EXPECT_TRUE(tree.IsNull());
}

TEST_F(JsonContainerTest, TakesAnyOtherBeginningAsPlainText)
{
    EXPECT_TRUE(Read("QXJSOND").IsNull());
    EXPECT_TRUE(Read("qxjsondb5b315d").IsNull());
    EXPECT_TRUE(Read(" QXJSONDB5b315d").IsNull());
    EXPECT_EQ(Text(Read("\"QXJSONDB\"")), L"\"QXJSONDB\"");
}

TEST_F(JsonContainerTest, LosesAnOddLastDigit)
{
    EXPECT_EQ(Text(Read(Container::Of("[1,2]") + "a")), L"[1,2]");
    EXPECT_EQ(Text(Read(Container::Of("[1,2]") + "\r\n")), L"[1,2]") << "a line break is one character";
}

TEST_F(JsonContainerTest, DropsATailShorterThanABlock)
{
    // What is left is the first block, whose end is no padding.
    const std::string text = "[1,2]           never read";
    EXPECT_EQ(Text(Read(Container::Of(text).substr(0, 8 + 32 + 14))), L"[1,2]");
    EXPECT_TRUE(Read(Container::Of(text).substr(0, 8 + 30)).IsNull()) << "no whole block";
}

TEST_F(JsonContainerTest, KeepsALastBlockThatIsNotPadded)
{
    const std::string text = "{\"a\":1, \"b\": 23}";
    ASSERT_EQ(text.size(), 16U);
    EXPECT_EQ(Text(Read(Container::Of(text, Container::Padding::None))), LR"({"a":1,"b":23})");
}

TEST_F(JsonContainerTest, EndsAtANulOfTheDecipheredText)
{
    EXPECT_EQ(Text(Read(Container::Of("7\0 garbage"s))), L"7");
}

TEST_F(JsonContainerTest, EndsAtAControlZAmongTheDigits)
{
    const std::string whole = Container::Of(std::string("[1,2]").append(27, ' '));
    EXPECT_EQ(Text(Read(whole.substr(0, 8 + 32) + "\x1A" + whole.substr(8 + 32))), L"[1,2]");
}

TEST_F(JsonContainerTest, FindsNothingUnderAnotherKey)
{
    EXPECT_FALSE(
        Read(Container::UnderAnotherKey(R"({"startMode":{"a":{"modeId":[5]}}})")).HasMember(L"startMode"));
}

TEST_F(JsonContainerTest, FindsNothingBehindWhatAreNoDigits)
{
    for (const std::string& digits : {std::string(64, 'z'), std::string(64, '\0'), "{\"a\":1}"s,
                                      "\xFF\xFE\xC3\xA4 not digits at all, and long enough for blocks"s})
    {
        EXPECT_EQ(Read(std::string(Container::magic) + digits).Size(), 0U) << digits;
    }
}

TEST_F(JsonContainerTest, SurvivesEveryDamagedByteAndEveryCut)
{
    const std::string whole = Container::Of(R"({"startMode":{"a":{"modeId":[5]}},"b":"xxxxxxxxxxxxxxx"})");
    for (std::size_t at = Container::magic.size(); at < whole.size(); ++at)
    {
        std::string damaged = whole;
        damaged[at] = damaged[at] == '0' ? '1' : '0';
        (void)Read(damaged);
        (void)Read(whole.substr(0, at));
    }
    EXPECT_TRUE(Read(whole).HasMember(L"startMode"));
}

TEST_F(JsonContainerTest, ReadsAMegabyte)
{
    std::string text = "[0";
    while (text.size() < 1024U * 1024U)
    {
        text += ",{\"name\":\"item\"}";
    }
    text += "]";
    JsonDb tree = Read(Container::Of(text));
    EXPECT_EQ(tree.LastError(), 0U);
    EXPECT_EQ(tree[tree.Size() - 1][L"name"].AsString(), L"item");
}

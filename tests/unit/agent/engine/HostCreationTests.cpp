// How engines come into being.
#include "EngineHostTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
class HostCreationTest : public EngineHostTest
{
protected:
    HostCreationTest() { InstallProbe(); }
};

TEST_F(HostCreationTest, AnEngineIsMadeForItsItemAndSessionAndToldByItsTrackId)
{
    EXPECT_EQ(
        ReplyTo(L"{\"JD_COMMAND_ID\":2000,\"action\":4097,\"itemId\":\"plain\",\"sessionId\":\"s \xFC\","
                L"\"trackId\":77,\"x\":[1]}"),
        L"{\"JD_COMMAND_ID\":2000,\"action\":4097,\"data\":{\"trackId\":1},\"itemId\":\"plain\","
        L"\"retCode\":553582592,\"sessionId\":\"s \\u00fc\",\"trackId\":77,\"x\":[1]}");
    EXPECT_EQ(Events(), L"CreateSpecialEngine(plain,s \xFC);Initialize();");
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(HostCreationTest, MissingTextsAreEmptyAndAppearAsNull)
{
    EXPECT_EQ(ReplyTo(L"{\"action\":4097}"),
              L"{\"action\":4097,\"data\":{\"trackId\":1},\"itemId\":null,\"retCode\":553582592,"
              L"\"sessionId\":null}");
    EXPECT_EQ(ReplyTo(L"{\"action\":\"4097\",\"itemId\":[\"a\"],\"sessionId\":{\"b\":1}}"),
              L"{\"action\":\"4097\",\"data\":{\"trackId\":2},\"itemId\":[\"a\"],\"retCode\":553582592,"
              L"\"sessionId\":{\"b\":1}}");
    EXPECT_EQ(Events(), L"CreateSpecialEngine(,);Initialize();CreateSpecialEngine(,);Initialize();");
}

TEST_F(HostCreationTest, TrackIdsBeginAtOneAndNeverRepeat)
{
    EXPECT_EQ(Create(L"plain"), L"1");
    EXPECT_EQ(Create(L"plain"), L"2");
    EXPECT_EQ(StatusOf(ActionOn(L"1", 0x1002)), Status::Success);
    EXPECT_EQ(Create(L"plain"), L"3");
    EXPECT_EQ(StatusOf(ActionOn(L"3", 0x1002)), Status::Success);
    EXPECT_EQ(Create(L"plain"), L"4");
    EXPECT_EQ(Living(), 2);
}

TEST_F(HostCreationTest, AFactoryThatGivesNothingIsToldWithItemAndSession)
{
    EXPECT_EQ(ReplyTo(L"{\"action\":4097,\"itemId\":\"nothing\",\"sessionId\":\"s\"}"),
              L"{\"action\":4097,\"data\":null,\"itemId\":\"nothing\",\"retCode\":-520159202,"
              L"\"sessionId\":\"s\"}");
    EXPECT_THAT(Lines(), ElementsAre(L": [ERROR] Failed to create special engine, "
                                     L"[wstrPtnId=nothing][wstrSessionId=s]"));
    EXPECT_EQ(Create(L"plain"), L"1");
}

TEST_F(HostCreationTest, AnObjectOfAnotherClassIsRefusedAndLeftAlone)
{
    EXPECT_EQ(ReplyTo(L"{\"action\":4097,\"itemId\":\"other\",\"sessionId\":\"s\"}"),
              L"{\"action\":4097,\"data\":null,\"itemId\":\"other\",\"retCode\":-520159202,"
              L"\"sessionId\":\"s\"}");
    EXPECT_THAT(Lines(), ElementsAre(L": [ERROR] Failed to create special engine, "
                                     L"[wstrPtnId=other][wstrSessionId=s]"));
    EXPECT_EQ(Events(), L"CreateSpecialEngine(other,s);");
    EXPECT_EQ(Create(L"plain"), L"1");
}

TEST_F(HostCreationTest, AnEngineThatDoesNotComeUpStaysUnreachable)
{
    EXPECT_EQ(ReplyTo(L"{\"action\":4097,\"itemId\":\"refused\",\"sessionId\":\"s\"}"),
              L"{\"action\":4097,\"data\":null,\"itemId\":\"refused\",\"retCode\":-520159227,"
              L"\"sessionId\":\"s\"}");
    EXPECT_THAT(Lines(), ElementsAre(L": [ERROR] Failed to initialize special engine, [wstrPtnId=refused]"));
    EXPECT_EQ(Living(), 1);
    EXPECT_EQ(StatusOf(ActionOn(L"1", 0x2001)), Status::UnknownTrackId);
    EXPECT_EQ(Create(L"plain"), L"1");
    EXPECT_EQ(Living(), 2);
}
} // namespace

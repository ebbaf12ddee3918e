// What the control mail "Answer" makes of the answers.
#include "HostFixture.h"

#include <chrono>
#include <thread>

#include "WaitUntil.h"

using AnswerOrderTest = HostFixture;

TEST_F(AnswerOrderTest, ReplacesTheResultAndLeavesTheRest)
{
    Order(L"{\"pluginId\":5,\"mailId\":6146,\"result\":3774808071}");
    const Reply reply = Send(Plugin::EventCenter, Mail::Event);
    EXPECT_EQ(reply.status, Status::Success);
    EXPECT_EQ(reply.result, Status::InvalidParameter);
    EXPECT_EQ(reply.json, L"{}");
    EXPECT_EQ(Send(Plugin::UserActivity, Mail::InputInfo).result, Status::Success);
}

TEST_F(AnswerOrderTest, TakesAStatusWithOrWithoutItsSign)
{
    Order(L"{\"pluginId\":5,\"mailId\":6146,\"status\":-520159225}");
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).status, Status::InvalidParameter);
    Order(L"{\"pluginId\":5,\"mailId\":6146,\"status\":3758163971}");
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).status, Status::UnknownClient);
}

TEST_F(AnswerOrderTest, LeavesItemsOut)
{
    Order(LR"({"pluginId":5,"mailId":6146,"drop":["result"]})");
    EXPECT_FALSE(Send(Plugin::EventCenter, Mail::Event).result.has_value());
    Order(LR"({"pluginId":5,"mailId":6146,"drop":["param"]})");
    EXPECT_FALSE(Send(Plugin::EventCenter, Mail::Event).param.has_value());
    Order(LR"({"pluginId":5,"mailId":6146,"drop":["message"]})");
    EXPECT_FALSE(Send(Plugin::EventCenter, Mail::Event).hasMessage);
    Order(LR"({"pluginId":5,"mailId":6146,"drop":["json"]})");
    const Reply reply = Send(Plugin::EventCenter, Mail::Event);
    EXPECT_TRUE(reply.hasMessage);
    EXPECT_FALSE(reply.json.has_value());
    EXPECT_EQ(reply.result, Status::Success);
}

TEST_F(AnswerOrderTest, ReplacesTheReply)
{
    Order(LR"({"pluginId":5,"mailId":6146,"json":"no JSON"})");
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).json, L"no JSON");
    Order(LR"({"pluginId":5,"mailId":6146,"json":{"handle":0}})");
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).json, L"{\"handle\":0}\n");
    Order(LR"({"pluginId":7,"mailId":7,"json":"{}"})");
    EXPECT_EQ(Send(7, 7).result, Status::Success);
}

TEST_F(AnswerOrderTest, HoldsAsOftenAsOrdered)
{
    Order(LR"({"pluginId":5,"mailId":6146,"result":-1,"times":2})");
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).result, -1);
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).result, -1);
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).result, Status::Success);
    Order(LR"({"pluginId":5,"mailId":6146,"result":-1})");
    for (int i = 0; i < 5; ++i)
    {
        EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).result, -1);
    }
    Order(LR"({"pluginId":5,"mailId":6146,"result":-1,"times":0})");
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).result, Status::Success);
}

TEST_F(AnswerOrderTest, IsForgottenByAReset)
{
    Order(LR"({"pluginId":5,"mailId":6146,"result":-1})");
    Order(LR"({"reset":true})");
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).result, Status::Success);
}

TEST_F(AnswerOrderTest, RefusesRegistrations)
{
    Order(LR"({"pluginId":0,"mailId":8274,"status":3758163971,"times":1})");
    EXPECT_EQ(Register().status, Status::UnknownClient);
    EXPECT_TRUE(clients.All().empty());
    Order(LR"({"pluginId":0,"mailId":8274,"result":-5,"times":1})");
    EXPECT_EQ(Register().result, -5);
    EXPECT_TRUE(clients.All().empty());
    Order(LR"({"pluginId":0,"mailId":8274,"drop":["result"],"times":1})");
    EXPECT_FALSE(Register().result.has_value());
    EXPECT_EQ(Register().result, Status::Success);
    Order(LR"({"pluginId":0,"mailId":8275,"result":-6,"times":1})");
    EXPECT_EQ(Unregister().result, -6);
    EXPECT_EQ(clients.All().size(), 1U);
}

TEST_F(AnswerOrderTest, HoldsForAllMailsThroughTheirCommandButNotForControlMails)
{
    Order(LR"({"pluginId":0,"mailId":8273,"status":-3})");
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).status, -3);
    EXPECT_EQ(Send(0x123456, 9).status, -3);
    Order(LR"({"pluginId":5,"mailId":6146,"result":-4})");
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).result, -4);
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).status, Status::Success);
    Order(LR"({"reset":true})");
}

TEST_F(AnswerOrderTest, CannotBeGivenForWhatIsNoAddress)
{
    const wchar_t* refused[] = {LR"({"pluginId":0,"mailId":0})",
                                LR"({"pluginId":0,"mailId":1})",
                                LR"({"pluginId":5112063,"mailId":4})",
                                LR"({"mailId":"99999999999"})",
                                LR"({"pluginId":5,"mailId":1,"drop":["all"]})",
                                LR"({"pluginId":5,"mailId":1,"drop":"json"})",
                                L"{",
                                L""};
    for (const wchar_t* json : refused)
    {
        EXPECT_EQ(ControlMail(Control::Answer, json).result, Status::InvalidParameter) << json;
    }
}

TEST_F(AnswerOrderTest, DelaysOneAnswerAndNoOther)
{
    Order(LR"({"pluginId":5,"mailId":6146,"delayMs":600000})");
    std::thread delayed([this] { Send(Plugin::EventCenter, Mail::Event); });
    EXPECT_TRUE(TestSupport::WaitUntil([this] { return journal.Last() == 1; }));
    EXPECT_EQ(Send(Plugin::UserActivity, Mail::InputInfo).result, Status::Success);
    stopping.Set(); // ends the wait at once
    delayed.join();
}

TEST_F(AnswerOrderTest, DelaysAsLongAsOrdered)
{
    Order(LR"({"pluginId":5,"mailId":6146,"delayMs":60})");
    const auto begin = std::chrono::steady_clock::now();
    Send(Plugin::EventCenter, Mail::Event);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(55));
}

#include "RecordLine.h"

#include <gtest/gtest.h>

namespace
{
std::wstring LineOf(const wchar_t* record)
{
    QxCommon::JsonDb json;
    EXPECT_EQ(json.ParseFromString(record), 0U);
    return RecordLine(json);
}

TEST(RecordLineTest, HoldsTheRequestAsAnObject)
{
    EXPECT_EQ(LineOf(LR"({"mailId":6146,"request":"{\"eventId\":18,\"winSessionId\":1}\n"})"),
              LR"({"mailId":6146,"request":{"eventId":18,"winSessionId":1}})");
}

TEST(RecordLineTest, LeavesAnyOtherRequestAsText)
{
    for (const wchar_t* const record :
         {LR"({"request":"QxSystemTray"})", LR"({"request":"7"})", LR"({"request":""})",
          LR"({"request":"{\"eventId\":1...[cut]"})", LR"({"sequence":1})"})
    {
        EXPECT_EQ(LineOf(record), record);
    }
}
} // namespace

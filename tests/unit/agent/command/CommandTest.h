#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "FakeProduct.h"
#include "LogCapture.h"
#include "QxCommon_JsonDb.h"
#include "VzComn_AgentStatus.h"

// The console of this test program: linked in place of the true one, it records what would be opened.
struct FakeConsole
{
    std::vector<std::wstring> calls; // "mode <arguments>" or "popup <featureId> popupId <param>"
    AgentStatus answer = Status::Success;
};

[[nodiscard]] FakeConsole& TheConsole();

// A text as it stands inside the quotes of a JSON string.
[[nodiscard]] std::wstring InJson(const std::wstring& text);

// Runs a command and gives the reply: the service's text in, the text that goes back out, without its line
// feed.
std::wstring ReplyTo(const std::wstring& command);

// A reply with nothing but the number and the status: {"JD_COMMAND_ID":1010,"retCode":553582592}.
[[nodiscard]] std::wstring PlainReply(int id, AgentStatus status);

// A service command under test, with the state of the reporters and of the console fresh.
class CommandTest : public ::testing::Test
{
protected:
    CommandTest();

    TestSupport::LogCapture log{logLevels};
};

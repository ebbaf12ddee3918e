#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "FakeLink.h"
#include "LogCapture.h"
#include "MessageBytes.h"
#include "OuterClientHelper.h"
#include "OuterClientState.h"
#include "ScarceMemory.h"
#include "WaitUntil.h"

// A test of the client helper: a healthy service, no connection, and the log.
class LinkTest : public ::testing::Test
{
protected:
    LinkTest();
    ~LinkTest() override;

    // The statements so far, without the functions' traces.
    [[nodiscard]] std::vector<std::wstring> Statements() const;

    // How often a statement stands in the log.
    [[nodiscard]] std::size_t Count(const std::wstring& statement) const;

    // Whether the threads that watch the service have all ended.
    [[nodiscard]] static bool NobodyWatches();

    // How many blocks of memory stay behind after the operation, apart from log and record of the link.
    [[nodiscard]] long long BlocksLeftBy(const std::function<void()>& operation);

    static std::unique_ptr<CVzRpcClientHelper> MakeHelper();

    TestSupport::LogCapture log{0x0111};
};

// The command function of the tests: notes what it gets and gives what it is told.
struct CommandNote
{
    int calls = 0;
    std::wstring text; // of the last command
    AgentStatus status = Status::Success;
};

[[nodiscard]] CommandNote& TheCommand();
AgentStatus NoteCommand(QxCommon::JsonDb& command);

inline constexpr wchar_t TestClientName[] = L"QxSystemTray";

// What a command without a result leaves in the log.
inline constexpr wchar_t noResult[] =
    L"OuterClientHelper: [ERROR] get parameter ID_DATA_PRODUCTADAPTER_COMM_MAILRESULT failed";

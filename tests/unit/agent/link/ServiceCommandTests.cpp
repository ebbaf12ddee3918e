#include <stdexcept>
#include <thread>

#include "LinkTest.h"
#include "ObjectCounts.h"
#include "VzComn_Exception.h"
#include "VzComn_String.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
const std::wstring received = L"OuterClientHelper: [INFO] Receive ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING=";

class ServiceCommandTest : public LinkTest
{
protected:
    ServiceCommandTest()
    {
        g_fnCallback = &NoteCommand;
        TheLink().GiveProcess("18446744073709551615");
    }

    // With an allocation that fails after so many that succeed.
    static CallOutcome CallBytes(const std::string& message, long long successes = -1)
    {
        CRpcCommandResult in{};
        CRpcCommandResult out{};
        CRpcDataHandleWrapper data;
        if (!message.empty())
        {
            data.Create();
            data.Message()->Assign(reinterpret_cast<const std::uint8_t*>(message.data()),
                                   static_cast<std::uint32_t>(message.size()));
            in.data = data.Handle();
        }
        CallOutcome outcome;
        {
            const OneFailure failure(successes);
            outcome.returned = CVzRpcClientHelper::RegisterProcessCallback("id", in, out);
        }
        outcome.status = out.iStatus;
        outcome.messageId = out.uMessageId;
        outcome.data = {out.data.uReserved, out.data.uMessageId, nullptr};
        if (out.data.pMessage != nullptr)
        {
            const auto bytes = (*out.data.pMessage)->Bytes();
            outcome.message.assign(bytes.begin(), bytes.end());
        }
        CRpcDataHandleWrapper::Release(&out.data);
        return outcome;
    }

    static CallOutcome Call(const std::wstring& json) { return CallBytes(CommandMessage(json)); }
};

bool IsUntouched(const CallOutcome& outcome)
{
    return outcome.status == 0 && outcome.messageId == 0 && outcome.message.empty();
}

AgentStatus ThrowOutOfRange(QxCommon::JsonDb& /*command*/)
{
    throw std::out_of_range("stoi");
}

AgentStatus ThrowNoMemory(QxCommon::JsonDb& /*command*/)
{
    throw std::bad_alloc();
}

AgentStatus ThrowPointer(QxCommon::JsonDb& /*command*/)
{
    VZ_THROW(VzCommon::String::Exception, 160);
}

AgentStatus ThrowNumber(QxCommon::JsonDb& /*command*/)
{
    throw 5;
}
} // namespace

TEST_F(ServiceCommandTest, RunsTheCommandAndSendsItBack)
{
    TheCommand().status = Status::NotFound;
    const CallOutcome outcome = Call(L"{\"JD_COMMAND_ID\":3000}");
    EXPECT_EQ(TheCommand().text, L"{\"JD_COMMAND_ID\":3000}\n");
    EXPECT_EQ(outcome.returned, Status::NotFound);
    EXPECT_EQ(outcome.status, Status::NotFound);
    EXPECT_EQ(outcome.messageId, 0x10014U);
    EXPECT_EQ(outcome.data.uReserved, 0U);
    EXPECT_EQ(outcome.data.uMessageId, 0x10014U);
    EXPECT_EQ(outcome.message,
              Message(0x10014, Bytes().Text(0xE001F, L"{\"JD_COMMAND_ID\":3000,\"retCode\":-520159218}\n")));
    EXPECT_THAT(Statements(), ElementsAre(received + L"{\"JD_COMMAND_ID\":3000}"));
}

TEST_F(ServiceCommandTest, LeavesItsTrace)
{
    Call(L"{}");
    EXPECT_THAT(log.Texts(),
                ElementsAre(L"[INFO],[OuterClientHelper], ==> CVzRpcClientHelper::RegisterProcessCallback",
                            received + L"{}",
                            L"[INFO],[OuterClientHelper], <== CVzRpcClientHelper::RegisterProcessCallback"));
}

TEST_F(ServiceCommandTest, ALongTextArrivesWhole)
{
    for (const std::size_t length : {1024U, 1025U, 1026U, 100000U})
    {
        const std::wstring text = L"{\"a\":\"" + std::wstring(length - 8, L'x') + L"\"}";
        ASSERT_EQ(text.size(), length);
        EXPECT_EQ(Call(text).returned, Status::Success);
        EXPECT_EQ(TheCommand().text, text + L"\n");
    }
}

TEST_F(ServiceCommandTest, ATextThatDoesNotParseIsAnEmptyCommand)
{
    for (const wchar_t* const text :
         {L"{\"JD_COMMAND_ID\":3000", L"{\"JD_COMMAND_ID\":3000,}x{", L"", L"nonsense"})
    {
        const CallOutcome outcome = Call(text);
        EXPECT_EQ(outcome.returned, Status::Success);
        EXPECT_EQ(TheCommand().text, L"null\n");
        EXPECT_EQ(TextItem(outcome.message, 0xE001F),
                  L"{\"retCode\":" + std::to_wstring(Status::Success) + L"}\n");
    }
}

TEST_F(ServiceCommandTest, ACommandWithoutTextIsRefused)
{
    struct Case
    {
        std::string message;
        std::wstring status;
    };

    const std::wstring line = L"OuterClientHelper: [ERROR] "
                              L"CRpcDataHandleWrapper.Get(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING) fail, "
                              L"ret=";
    for (const Case& refused : {Case{"", L"-520159231"}, Case{Message(0x10014, Bytes()), L"-520159218"},
                                Case{Message(0x10014, Bytes().UInt(0xE001F, 1)), L"-520159225"},
                                Case{std::string(23, 'x'), L"-520159218"}})
    {
        log.Clear();
        const CallOutcome outcome = CallBytes(refused.message);
        EXPECT_EQ(std::to_wstring(outcome.returned), refused.status);
        EXPECT_TRUE(IsUntouched(outcome));
        EXPECT_THAT(Statements(), ElementsAre(line + refused.status));
    }
    EXPECT_EQ(TheCommand().calls, 0);
}

TEST_F(ServiceCommandTest, WithoutACallbackNothingIsAnswered)
{
    g_fnCallback = nullptr;
    const CallOutcome outcome = Call(L"{}");
    EXPECT_EQ(outcome.returned, Status::NoCallback);
    EXPECT_TRUE(IsUntouched(outcome));
    EXPECT_THAT(Statements(),
                ElementsAre(received + L"{}", L"OuterClientHelper: [ERROR] g_fnCallback is NULL"));
}

TEST_F(ServiceCommandTest, WhateverIsThrownStaysInside)
{
    struct Case
    {
        CVzRpcClientHelper::CommandFunction function;
        AgentStatus status;
        std::wstring reason;
    };

    for (const Case& thrown : {Case{&ThrowOutOfRange, Status::Failure, L"stoi"},
                               Case{&ThrowNoMemory, Status::OutOfMemory, L"out of memory"},
                               Case{&ThrowPointer, Status::Failure, L"error 160"},
                               Case{&ThrowNumber, Status::Failure, L"unknown exception"}})
    {
        log.Clear();
        g_fnCallback = thrown.function;
        const CallOutcome outcome = Call(L"{}");
        EXPECT_EQ(outcome.returned, thrown.status);
        EXPECT_TRUE(IsUntouched(outcome));
        EXPECT_THAT(Statements(),
                    ElementsAre(received + L"{}",
                                L"OuterClientHelper: [ERROR] The service's command is refused, reason=" +
                                    thrown.reason));
    }
}

TEST_F(ServiceCommandTest, ShortMemoryNeitherCutsACommandNorChangesItsStatus)
{
    const std::wstring text =
        L"{\"JD_COMMAND_ID\":3000,\"number\":1.5,\"text\":\"" + std::wstring(1000, L'x') + L"\"}";
    const std::string message = CommandMessage(text);
    TheCommand().status = Status::NotFound;
    const std::string reply = CallBytes(message).message;
    int refused = 0;
    int withoutReply = 0;
    for (long long successes = 0; successes < 300; ++successes)
    {
        TheCommand().calls = 0;
        const CallOutcome outcome = CallBytes(message, successes);
        if (TheCommand().calls == 0)
        {
            ++refused;
            EXPECT_TRUE(outcome.returned == Status::OutOfMemory || outcome.returned == Status::Failure);
            EXPECT_TRUE(IsUntouched(outcome));
            continue;
        }
        EXPECT_EQ(TheCommand().calls, 1) << successes;
        EXPECT_EQ(TheCommand().text, text + L"\n") << successes;
        EXPECT_EQ(outcome.returned, Status::NotFound) << successes;
        withoutReply += IsUntouched(outcome) ? 1 : 0;
        EXPECT_TRUE(IsUntouched(outcome) || outcome.message == reply) << successes;
    }
    EXPECT_GT(refused, 0);
    EXPECT_GT(withoutReply, 0);
    EXPECT_GE(Count(L"OuterClientHelper: [ERROR] The service's command cannot be read, error=14"), 1U);
}

TEST_F(ServiceCommandTest, HostileTextsComeBackWithAStatus)
{
    const std::wstring open(1000, L'[');
    const std::wstring close(1000, L']');
    const std::wstring tooDeep = open + L"[" + close + L"]";
    const std::wstring surrogates = L"{\"JD_COMMAND_ID\":\"\xD800\",\"\xDC00\":\"\\ud800\"}";
    const std::wstring cut = std::wstring(L"{\"a\":1}") + L'\0' + L"{\"b\":2}";
    for (const std::wstring& text :
         {open + close, tooDeep, std::wstring(100000, L'['), surrogates, cut,
          std::wstring(L"{\"JD_COMMAND_ID\":\"99999999999999999999\"}"), std::wstring(L"[1,2]"),
          std::wstring(L"\"text\""), std::wstring(L"1e999"), std::wstring(L"{\"a\":\"\\u0000\"}")})
    {
        TheCommand() = {0, L"", 7};
        const CallOutcome outcome = Call(text);
        EXPECT_EQ(TheCommand().calls, 1);
        EXPECT_EQ(outcome.returned, 7);
        EXPECT_EQ(outcome.status, 7);
        EXPECT_EQ(outcome.messageId, 0x10014U);
        EXPECT_NE(TextItem(outcome.message, 0xE001F), L"(no such item)");
    }
}

TEST_F(ServiceCommandTest, TheTextEndsAtItsFirstZero)
{
    Call(std::wstring(L"{\"a\":1}") + L'\0' + L"{\"b\":2}");
    EXPECT_EQ(TheCommand().text, L"{\"a\":1}\n");
}

TEST_F(ServiceCommandTest, SixteenMegabytesOfTextComeBack)
{
    const std::wstring text = L"{\"a\":\"" + std::wstring(8U * 1024 * 1024, L'x') + L"\"}";
    const CallOutcome outcome = Call(text);
    EXPECT_EQ(outcome.returned, Status::Success);
    EXPECT_GT(outcome.message.size(), text.size() * 2);
}

TEST_F(ServiceCommandTest, ComesOnAThreadOfTheLibrary)
{
    const auto helper = MakeHelper();
    helper->RegisterProcess(TestClientName, &NoteCommand);
    const CallOutcome outcome = TheLink().Call(CommandMessage(L"{}"));
    EXPECT_EQ(outcome.returned, Status::Success);
    EXPECT_NE(outcome.thread, GetCurrentThreadId());
}

TEST_F(ServiceCommandTest, TheEndOfTheRegistrationDoesNotWaitForIt)
{
    static HANDLE running = nullptr;
    static HANDLE letGo = nullptr;
    const VzCommon::KernelHandle runningOwner(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const VzCommon::KernelHandle letGoOwner(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    running = runningOwner.Get();
    letGo = letGoOwner.Get();
    auto helper = MakeHelper();
    helper->RegisterProcess(TestClientName,
                            [](QxCommon::JsonDb& command)
                            {
                                SetEvent(running);
                                WaitForSingleObject(letGo, INFINITE);
                                command[L"retCode"].SetInt(1);
                                return AgentStatus{1};
                            });
    CallOutcome outcome;
    std::thread service([&outcome] { outcome = TheLink().Call(CommandMessage(L"{}")); });
    WaitForSingleObject(running, INFINITE);
    EXPECT_EQ(helper->UnregisterProcess(), Status::Success);
    helper.reset();
    SetEvent(letGo);
    service.join();
    EXPECT_EQ(outcome.returned, 1);
    EXPECT_EQ(TextItem(outcome.message, 0xE001F), L"{\"retCode\":1}\n");
}

TEST_F(ServiceCommandTest, CommandsLeaveNothingBehind)
{
    const auto call = []
    {
        g_fnCallback = &NoteCommand;
        Call(L"{\"JD_COMMAND_ID\":3000}");
        g_fnCallback = &ThrowPointer;
        Call(L"{\"JD_COMMAND_ID\":3000}");
    };
    EXPECT_EQ(TestSupport::GrowthOf(call), "");
    EXPECT_EQ(BlocksLeftBy(call), 0);
}

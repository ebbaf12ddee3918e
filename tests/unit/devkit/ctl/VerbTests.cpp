#include "Verbs.h"

#include <gmock/gmock.h>

#include "ControlMails.h"
#include "FakeLink.h"
#include "FakeProduct.h"
#include "FakeServiceManager.h"
#include "JsonQuote.h"
#include "QxCommon_JsonDb.h"
#include "RecordingOutput.h"
#include "TempDir.h"
#include "VzComn_Handle.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace
{
constexpr const wchar_t* statusReply =
    LR"({"service":{"name":"Melvio Host Service","processId":40,"product":"Melvio",)"
    LR"("startedAt":"2026-01-02T03:04:05.006"},"clients":[)"
    LR"({"processId":44,"sessionId":1,"clientName":"QxSessionAgent","registeredAt":"2026-01-02T03:04:06.000","mails":3},)"
    LR"({"processId":1044,"sessionId":12,"clientName":"x","registeredAt":"2026-01-02T03:04:07.000","mails":12}]})";

// A client that replied.
const FakeLink::Reply replied{.json = LR"({"processId":44,"status":0,"reply":"{}"})"};

class VerbTest : public ::testing::Test
{
protected:
    // Runs a verb against a service that answers each mail so.
    int Run(const std::vector<std::wstring>& words, const FakeLink::Reply& reply)
    {
        const FakeLink link(
            [this, reply](const FakeLink::Sent& sent)
            {
                mail = sent;
                return reply;
            });
        const ParsedArguments parsed = ParseArguments(words);
        EXPECT_EQ(parsed.error, L"");
        ControlClient client;
        switch (parsed.arguments.verb)
        {
        case Verb::Status: return RunStatus(parsed.arguments, client, output);
        case Verb::Send: return RunSend(parsed.arguments, client, output);
        case Verb::Mail: return RunMail(parsed.arguments, client, output);
        default: return RunAnswer(parsed.arguments, client, output);
        }
    }

    // What the client replied, as the service passes it on.
    int RunSendWith(const std::wstring& reply, std::int32_t status = 0)
    {
        return Run({L"send", L"{}"}, {.json = L"{\"processId\":44,\"status\":" + std::to_wstring(status) +
                                              L",\"reply\":" + JsonQuote(reply) + L"}"});
    }

    FakeProduct product{L"qxctl_M.exe"};
    RecordingOutput output;
    FakeLink::Sent mail;
};

TEST_F(VerbTest, StatusIsATableForPeople)
{
    EXPECT_EQ(Run({L"status"}, {.json = statusReply}), ExitCode::Ok);
    EXPECT_EQ(mail.pluginId, Control::PluginId);
    EXPECT_EQ(mail.mailId, Control::Status);
    EXPECT_EQ(mail.request, L"{}");
    EXPECT_EQ(output.text, L"Service  Melvio Host Service, running\n"
                           L"Process  40, since 2026-01-02T03:04:05.006\n"
                           L"Clients  2\n"
                           L"\n"
                           L"PROCESS  SESSION  NAME            REGISTERED               MAILS\n"
                           L"     44        1  QxSessionAgent  2026-01-02T03:04:06.000      3\n"
                           L"   1044       12  x               2026-01-02T03:04:07.000     12\n");
    EXPECT_THAT(output.notes, IsEmpty());
}

TEST_F(VerbTest, StatusWithoutClientsIsNoTable)
{
    EXPECT_EQ(Run({L"status"}, {.json = LR"({"service":{"name":"N","processId":4},"clients":[]})"}),
              ExitCode::Ok);
    EXPECT_EQ(output.text, L"Service  N, running\nProcess  4, since \nClients  0\n");
}

TEST_F(VerbTest, StatusIsOneLineOfJsonForPrograms)
{
    const FakeServiceManager manager(SERVICE_RUNNING);
    EXPECT_EQ(Run({L"status", L"--json"}, {.json = statusReply}), ExitCode::Ok);
    EXPECT_EQ(output.text.find(L'\n'), output.text.size() - 1);
    QxCommon::JsonDb line;
    ASSERT_EQ(line.ParseFromString(output.text), 0U);
    EXPECT_EQ(line[L"clients"][1][L"processId"].AsInt(), 1044);
    EXPECT_EQ(line[L"service"][L"state"].AsString(), L"running");
    EXPECT_EQ(line[L"service"][L"processId"].AsInt(), 40);
}

TEST_F(VerbTest, StatusForProgramsTellsTheManagersStateOfAServiceThatAnswers)
{
    const FakeServiceManager manager(SERVICE_STOP_PENDING);
    EXPECT_EQ(Run({L"status", L"--json"}, {.json = statusReply}), ExitCode::Ok);
    EXPECT_THAT(output.text, HasSubstr(L"\"state\":\"stop pending\""));
}

TEST_F(VerbTest, StatusTellsOfAServiceThatIsNotThere)
{
    struct Case
    {
        DWORD state;
        const wchar_t* name;
        const wchar_t* advice;
    };

    for (const Case& fault : {Case{0, L"not installed", L"install it with QxSvcHost --install"},
                              Case{SERVICE_STOPPED, L"stopped", L"start it with QxSvcHost --start"},
                              Case{SERVICE_START_PENDING, L"start pending", L"is start pending; try again"},
                              Case{SERVICE_RUNNING, L"running", L"does not answer (0xe0fe0002); restart it"}})
    {
        const FakeServiceManager manager(fault.state);
        output = {};
        EXPECT_EQ(Run({L"status", L"--json"}, {.call = Status::FromSystemError(2)}), ExitCode::NotReachable);
        EXPECT_EQ(output.text, LR"({"clients":[],"service":{"name":"Melvio Host Service","state":")" +
                                   std::wstring(fault.name) + L"\"}}\n");
        ASSERT_EQ(output.notes.size(), 1U);
        EXPECT_THAT(output.notes[0], HasSubstr(L"Melvio Host Service"));
        EXPECT_THAT(output.notes[0], HasSubstr(fault.advice));
    }
}

TEST_F(VerbTest, StatusOfAnAbsentServiceIsNothingOnTheOutputForPeople)
{
    const FakeServiceManager manager(0);
    EXPECT_EQ(Run({L"status"}, {.call = Status::FromSystemError(2)}), ExitCode::NotReachable);
    EXPECT_EQ(output.text, L"");
}

TEST_F(VerbTest, AServiceThatDeniesAccessWantsAnAdministrator)
{
    const AgentStatus denied = Status::FromSystemError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(Run({L"answer", L"--reset"}, {.result = static_cast<std::uint32_t>(denied)}),
              ExitCode::Refused);
    EXPECT_THAT(output.notes,
                ElementsAre(L"refused: 0xe0fe0005, access denied: run qxctl as an administrator"));
}

TEST_F(VerbTest, AnEndpointThatDeniesAccessIsNotTheServices)
{
    const FakeServiceManager manager(SERVICE_RUNNING);
    EXPECT_EQ(Run({L"status"}, {.call = Status::FromSystemError(ERROR_ACCESS_DENIED)}),
              ExitCode::NotReachable);
    EXPECT_THAT(output.notes, ElementsAre(HasSubstr(L"the endpoint is not that of ")));
}

TEST_F(VerbTest, SendPassesTheTextOnAsItStands)
{
    for (const wchar_t* command :
         {L"{\"JD_COMMAND_ID\": 1001}\n", L"no JSON \"\\", L"", L"\x1\x4E09\xD83D\xDE00"})
    {
        EXPECT_EQ(Run({L"send", L"--pid", L"44", L"--timeout", L"5", L"--", command}, replied), ExitCode::Ok);
        EXPECT_EQ(mail.mailId, Control::Send);
        QxCommon::JsonDb request;
        ASSERT_EQ(request.ParseFromString(mail.request), 0U);
        EXPECT_EQ(request[L"command"].AsString(), command);
        EXPECT_EQ(request[L"processId"].AsInt(), 44);
        EXPECT_EQ(request[L"timeoutMs"].AsInt(), 5000);
    }
}

TEST_F(VerbTest, SendTakesTheTextOfAFile)
{
    const TestSupport::TempDir folder;
    const std::string bytes("{\"a\":\"\xE4\xB8\x89\"}\0\r\n", 14);
    const std::wstring path = folder.Write(L"command.json", bytes);
    EXPECT_EQ(Run({L"send", L"--file", path}, replied), ExitCode::Ok);
    QxCommon::JsonDb request;
    ASSERT_EQ(request.ParseFromString(mail.request), 0U);
    EXPECT_EQ(request[L"command"].AsString(), std::wstring(L"{\"a\":\"\x4E09\"}\0\r\n", 12));
    EXPECT_EQ(request[L"timeoutMs"].AsInt(), 60000);
    EXPECT_EQ(Run({L"send", L"--file", folder.Path(L"none")}, {}), ExitCode::Usage);
    EXPECT_THAT(output.notes, ElementsAre(HasSubstr(L"cannot be read")));
}

TEST_F(VerbTest, SendPrintsTheReplyInOneLineAsTheClientWroteIt)
{
    EXPECT_EQ(RunSendWith(L"{\"z\":1.50,\"retCode\":553582592,\"a\":\"\\u4e09\"}\n"), ExitCode::Ok);
    EXPECT_EQ(output.text, L"{\"z\":1.50,\"retCode\":553582592,\"a\":\"\\u4e09\"}\n");
    output = {};
    EXPECT_EQ(RunSendWith(L"{\n  \"b\": 1,\n  \"a\": 2\n}\n"), ExitCode::Ok);
    EXPECT_EQ(output.text, L"{\"a\":2,\"b\":1}\n");
}

TEST_F(VerbTest, SendFailsForANegativeRetCode)
{
    EXPECT_EQ(RunSendWith(L"{\"retCode\":-520159225}"), ExitCode::Refused);
    EXPECT_EQ(RunSendWith(L"{\"retCode\":3774808071}"), ExitCode::Refused);
    EXPECT_EQ(RunSendWith(L"{\"retCode\":0}"), ExitCode::Ok);
    EXPECT_EQ(RunSendWith(L"[-1]"), ExitCode::Ok);
    EXPECT_EQ(output.text, L"{\"retCode\":-520159225}\n{\"retCode\":3774808071}\n{\"retCode\":0}\n[-1]\n");
}

TEST_F(VerbTest, SendQuotesAReplyThatIsNoJson)
{
    EXPECT_EQ(RunSendWith(L"no \"JSON\"\n"), ExitCode::Refused);
    EXPECT_EQ(output.text, L"\"no \\\"JSON\\\"\\n\"\n");
    EXPECT_THAT(output.notes, ElementsAre(L"the client's reply is no JSON"));
}

TEST_F(VerbTest, SendFailsWithTheClient)
{
    EXPECT_EQ(RunSendWith(L"{\"retCode\":1}", Status::NoCallback), ExitCode::Refused);
    EXPECT_EQ(output.text, L"{\"retCode\":1}\n");
    EXPECT_EQ(Run({L"send", L"{}"}, {.json = LR"({"processId":44,"status":-520223537})"}), ExitCode::Refused);
    EXPECT_EQ(Run({L"send", L"{}"}, {.json = LR"({"processId":44,"status":-520223308})"}),
              ExitCode::TimedOut);
    EXPECT_THAT(output.notes,
                ElementsAre(HasSubstr(L"takes no commands"), HasSubstr(L"0xe0fe04cf, the client is gone"),
                            HasSubstr(L"did not reply in time")));
}

TEST_F(VerbTest, SendFailsWithoutAReply)
{
    for (const wchar_t* const silent : {LR"({"processId":44,"status":553582592})", L"{}"})
    {
        output = {};
        EXPECT_EQ(Run({L"send", L"{}"}, {.json = silent}), ExitCode::Refused);
        EXPECT_EQ(output.text, L"");
        EXPECT_THAT(output.notes, ElementsAre(HasSubstr(L"sent no reply")));
    }
}

TEST_F(VerbTest, ReplyOfAClientHoldsNothingThatATerminalObeys)
{
    EXPECT_EQ(RunSendWith(L"{\"b\":\"\x1b[2J\x7f\x9b\",\t\"a\":1} // \x1b[2J"), ExitCode::Ok);
    EXPECT_EQ(output.text, L"{\"a\":1,\"b\":\"\\u001b[2J\\u007f\\u009b\"}\n");
    output = {};
    EXPECT_EQ(RunSendWith(L"no JSON \x1b[2J\x7f\x9b\u4e09"), ExitCode::Refused);
    EXPECT_EQ(output.text, L"\"no JSON \\u001b[2J\\u007f\\u009b\u4e09\"\n");
}

TEST_F(VerbTest, StatusHoldsNothingThatATerminalObeys)
{
    const FakeServiceManager manager(SERVICE_RUNNING);
    const std::wstring reply = LR"({"service":{"name":"N"},"clients":[{"processId":44,"clientName":)" +
                               JsonQuote(L"x\x1b[2J\r\n\x7f\x80\x9f\u00a0y") + L"}]}";
    EXPECT_EQ(Run({L"status"}, {.json = reply}), ExitCode::Ok);
    EXPECT_THAT(output.text, HasSubstr(L"  x\xFFFD[2J\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD\u00a0y  "));
    output = {};
    EXPECT_EQ(Run({L"status", L"--json"}, {.json = reply}), ExitCode::Ok);
    EXPECT_THAT(output.text, HasSubstr(LR"("x\u001b[2J\r\n\u007f\u0080\u009f\u00a0y")"));
}

TEST_F(VerbTest, MailGoesToAnyPlugin)
{
    EXPECT_EQ(
        Run({L"mail", L"--plugin", L"0x4E0100", L"--mail", L"7", L"no JSON"}, {.json = L"{\"b\": 1}\n"}),
        ExitCode::Ok);
    EXPECT_EQ(mail.pluginId, 0x4E0100U);
    EXPECT_EQ(mail.mailId, 7U);
    EXPECT_EQ(mail.request, L"no JSON");
    EXPECT_EQ(output.text, L"{\"b\": 1}\n");
    EXPECT_THAT(output.notes, IsEmpty());
    EXPECT_EQ(Run({L"mail", L"--plugin", L"5", L"--mail", L"1"}, {}), ExitCode::Ok);
    EXPECT_EQ(mail.request, L"{}");
}

TEST_F(VerbTest, MailTellsHowItFailed)
{
    const std::vector<std::wstring> words = {L"mail", L"--plugin", L"5", L"--mail", L"1"};
    EXPECT_EQ(Run(words, {.result = 0xE0FF000E}), ExitCode::Refused);
    EXPECT_EQ(output.text, L"");
    EXPECT_EQ(Run(words, {.hasJson = false}), ExitCode::Refused);
    EXPECT_EQ(Run(words, {.call = Status::FromSystemError(ERROR_TIMEOUT)}), ExitCode::TimedOut);
    EXPECT_EQ(Run(words, {.json = L"no JSON"}), ExitCode::Refused);
    EXPECT_EQ(output.text, L"\"no JSON\"\n");
    EXPECT_THAT(output.notes, ElementsAre(L"refused: 0xe0ff000e, not found", HasSubstr(L"holds no reply"),
                                          HasSubstr(L"no answer in time"), HasSubstr(L"is no JSON")));
}

TEST_F(VerbTest, SendSaysWhichClientIsMissing)
{
    const FakeLink::Reply notFound{.result = 0xE0FF000E, .json = LR"({"processId":0,"status":0})"};
    EXPECT_EQ(Run({L"send", L"{}"}, notFound), ExitCode::Refused);
    EXPECT_EQ(Run({L"send", L"{}", L"--pid", L"7"}, notFound), ExitCode::Refused);
    EXPECT_THAT(output.notes,
                ElementsAre(HasSubstr(L"not exactly one client"), HasSubstr(L"no client of process 7")));
}

TEST_F(VerbTest, AnswerSendsItsRule)
{
    EXPECT_EQ(Run({L"answer", L"--plugin", L"5", L"--mail", L"0x1802", L"--result", L"0xE0FF000E"}, {}),
              ExitCode::Ok);
    EXPECT_EQ(mail.mailId, Control::Answer);
    EXPECT_EQ(mail.request, LR"({"pluginId":5,"mailId":6146,"result":3774808078})");
    EXPECT_EQ(output.text, L"Set for plug-in 0x5, mail 0x1802.\n");
    output = {};
    EXPECT_EQ(Run({L"--json", L"answer", L"--reset"}, {.hasJson = false}), ExitCode::Ok);
    EXPECT_EQ(mail.request, LR"({"reset":true})");
    EXPECT_EQ(output.text, L"{}\n");
}

TEST_F(VerbTest, ExitSignalsTheProductsEvent)
{
    EXPECT_EQ(RunExit(output), ExitCode::Refused);
    EXPECT_THAT(output.notes, ElementsAre(L"there is no exit event of Melvio: no agent is running"));
    const VzCommon::KernelHandle event(
        CreateEventW(nullptr, TRUE, FALSE, L"Global\\WATCHDOG_NOTIFY_UIDESKTRAY_EXITMelvio"));
    EXPECT_EQ(RunExit(output), ExitCode::Ok);
    EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
}

TEST_F(VerbTest, ExitNamesAnotherObjectUnderTheName)
{
    const VzCommon::KernelHandle mutex(
        CreateMutexW(nullptr, FALSE, L"Global\\WATCHDOG_NOTIFY_UIDESKTRAY_EXITMelvio"));
    EXPECT_EQ(RunExit(output), ExitCode::Refused);
    EXPECT_THAT(output.notes, ElementsAre(HasSubstr(L"0xe0fe0006")));
}
} // namespace

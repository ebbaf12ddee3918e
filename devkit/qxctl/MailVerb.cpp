#include "Verbs.h"

#include <windows.h>

#include <chrono>
#include <optional>

#include "Failure.h"
#include "JsonLine.h"
#include "JsonQuote.h"
#include "TextToSend.h"

namespace
{
constexpr std::uint32_t defaultSeconds = 60;

int PrintReply(const std::wstring& reply, Output& output)
{
    if (reply.empty())
    {
        output.Note(L"the answer holds no reply");
        return ExitCode::Refused;
    }
    QxCommon::JsonDb parsed;
    const std::optional<std::wstring> line = ReplyLine(reply, parsed);
    const bool isWritten = output.Line(line.value_or(JsonQuote(reply)));
    if (!line)
    {
        output.Note(L"the plug-in's reply is no JSON");
    }
    return isWritten && line ? ExitCode::Ok : ExitCode::Refused;
}
} // namespace

int RunMail(const Arguments& arguments, ControlClient& client, Output& output)
{
    const std::optional<std::wstring> request = TextToSend(arguments, output);
    if (!request)
    {
        return ExitCode::Usage;
    }
    const std::chrono::seconds time(arguments.timeoutSeconds.value_or(defaultSeconds));
    const MailAnswer answer = client.Mail(arguments.rule.pluginId, arguments.rule.mailId, *request, time);
    if (answer.call == Status::FromSystemError(ERROR_TIMEOUT))
    {
        output.Note(L"no answer in time; give it longer with --timeout");
        return ExitCode::TimedOut;
    }
    return answer.Failed() ? ReportFailure(answer, output) : PrintReply(answer.json, output);
}

#include "Verbs.h"

#include <windows.h>

#include <chrono>
#include <limits>
#include <optional>

#include "ControlMails.h"
#include "Failure.h"
#include "JsonLine.h"
#include "JsonQuote.h"
#include "QxCommon_JsonDb.h"
#include "TextToSend.h"

namespace
{
constexpr std::uint32_t defaultSeconds = 60;

// Beyond what the client may take: for the service's own part.
constexpr std::chrono::seconds grace{10};

bool IsNegative(const QxCommon::JsonDb& retCode)
{
    // A status may come as the unsigned number of its bits.
    return IntOrZero(retCode) < 0 ||
           UIntOrZero(retCode) > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max());
}

int PrintReply(const std::wstring& reply, Output& output)
{
    QxCommon::JsonDb parsed;
    const std::optional<std::wstring> line = ReplyLine(reply, parsed);
    const bool isWritten = output.Line(line.value_or(JsonQuote(reply)));
    if (!line)
    {
        output.Note(L"the client's reply is no JSON");
        return ExitCode::Refused;
    }
    const bool isFailure = parsed.HasMember(L"retCode") && IsNegative(parsed[L"retCode"]);
    return isWritten && !isFailure ? ExitCode::Ok : ExitCode::Refused;
}

int ReportClient(AgentStatus status, Output& output)
{
    const bool isTimeOut = status == Status::FromSystemError(ERROR_TIMEOUT);
    output.Note(isTimeOut ? L"the client did not reply in time; give it longer with --timeout"
                          : L"the client failed: " + Describe(status));
    return isTimeOut ? ExitCode::TimedOut : ExitCode::Refused;
}

int ReportNoClient(const Arguments& arguments, Output& output)
{
    output.Note(arguments.processId == 0
                    ? L"not exactly one client is registered; see qxctl status, and name one by --pid"
                    : L"no client of process " + std::to_wstring(arguments.processId) +
                          L" is registered; see qxctl status");
    return ExitCode::Refused;
}
} // namespace

int RunSend(const Arguments& arguments, ControlClient& client, Output& output)
{
    const std::optional<std::wstring> command = TextToSend(arguments, output);
    if (!command)
    {
        return ExitCode::Usage;
    }
    const std::chrono::seconds time(arguments.timeoutSeconds.value_or(defaultSeconds));
    const auto timeoutMs = static_cast<std::uint32_t>(std::chrono::milliseconds(time).count());
    const std::wstring request = ControlRequest::Send(arguments.processId, *command, timeoutMs);
    const MailAnswer answer = client.Mail(Control::PluginId, Control::Send, request, time + grace);
    if (!Status::Failed(answer.call) && answer.result == Status::NotFound)
    {
        return ReportNoClient(arguments, output);
    }
    if (answer.Failed() && answer.json.empty())
    {
        return ReportFailure(answer, output);
    }
    QxCommon::JsonDb parsed;
    const bool isUsable = parsed.ParseFromString(answer.json) == 0;
    const AgentStatus status = isUsable && parsed.HasMember(L"status") ? IntOrZero(parsed[L"status"]) : 0;
    const bool hasReply = parsed.HasMember(L"reply");
    const int code = hasReply ? PrintReply(parsed[L"reply"].AsString(), output) : ExitCode::Refused;
    if (Status::Failed(status))
    {
        return ReportClient(status, output);
    }
    if (answer.Failed())
    {
        return ReportFailure(answer, output);
    }
    if (!hasReply)
    {
        output.Note(L"the client succeeded, but sent no reply");
    }
    return code;
}

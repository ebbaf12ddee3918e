#include "Verbs.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>

#include "ControlMails.h"
#include "Failure.h"
#include "QxCommon_JsonDb.h"
#include "QxCommon_JsonText.h"
#include "QxCommon_utility.h"

namespace
{
constexpr std::uint32_t defaultSeconds = 60;

// Beyond what the client may take: for the service's own part.
constexpr std::chrono::seconds grace{10};

std::optional<std::wstring> ReadFile(const std::wstring& path)
{
    std::ifstream file(path.c_str(), std::ios::binary);
    if (!file)
    {
        return std::nullopt;
    }
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    return file.bad() ? std::nullopt : std::optional(QxCommon::JsonText::ToWide(bytes));
}

// As the client wrote it, unless it is no line of JSON.
std::wstring OneLine(const std::wstring& reply, QxCommon::JsonDb& parsed)
{
    if (parsed.ParseFromString(reply) != 0)
    {
        return ControlRequest::Quote(reply);
    }
    const std::wstring line = QxCommon::TrimTrailingLineFeeds(reply);
    return line.find_first_of(L"\r\n") == std::wstring::npos
               ? line
               : QxCommon::TrimTrailingLineFeeds(parsed.ToFastString());
}

bool IsNegative(const QxCommon::JsonDb& retCode)
{
    // A status may come as the unsigned number of its bits.
    return IntOrZero(retCode) < 0 ||
           UIntOrZero(retCode) > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max());
}

int PrintReply(const std::wstring& reply, Output& output)
{
    QxCommon::JsonDb parsed;
    const std::wstring line = OneLine(reply, parsed);
    const bool isJson = parsed.LastError() == 0;
    const bool isWritten = output.Line(line);
    if (!isJson)
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
    const std::optional<std::wstring> command =
        arguments.file ? ReadFile(*arguments.file) : arguments.command;
    if (!command)
    {
        output.Note(L"the file " + *arguments.file + L" cannot be read");
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
    const int code =
        parsed.HasMember(L"reply") ? PrintReply(parsed[L"reply"].AsString(), output) : ExitCode::Ok;
    if (Status::Failed(status))
    {
        return ReportClient(status, output);
    }
    return answer.Failed() ? ReportFailure(answer, output) : code;
}

#include "Verbs.h"

#include <chrono>

#include "ControlMails.h"
#include "Failure.h"
#include "QxCommon_utility.h"
#include "VzComn_String.h"

namespace
{
constexpr std::chrono::seconds limit{10};

std::wstring Confirmation(const Arguments& arguments)
{
    return arguments.wantsReset ? std::wstring(L"Every answer is as usual.")
                                : VzCommon::String::Format(L"Set for plug-in 0x%X, mail 0x%X.",
                                                           arguments.rule.pluginId, arguments.rule.mailId);
}
} // namespace

int RunAnswer(const Arguments& arguments, ControlClient& client, Output& output)
{
    const std::wstring request =
        arguments.wantsReset ? ControlRequest::ResetAnswers() : ControlRequest::Answer(arguments.rule);
    const MailAnswer answer = client.Mail(Control::PluginId, Control::Answer, request, limit);
    if (answer.Failed())
    {
        return ReportFailure(answer, output);
    }
    const std::wstring reply = QxCommon::TrimTrailingLineFeeds(answer.json);
    output.Line(arguments.wantsJson ? (reply.empty() ? L"{}" : reply) : Confirmation(arguments));
    return ExitCode::Ok;
}

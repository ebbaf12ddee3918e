#include "Verbs.h"

#include <chrono>

#include "ControlMails.h"
#include "ControlRequest.h"
#include "Failure.h"
#include "JsonLine.h"
#include "JsonQuote.h"
#include "QxCommon_JsonDb.h"
#include "ServiceState.h"
#include "StatusTable.h"

namespace
{
constexpr std::chrono::seconds limit{10};

// What programs get of a service that is not there.
std::wstring AbsentService()
{
    const ServiceState service = QueryHostService();
    return LR"({"clients":[],"service":{"name":)" + JsonQuote(service.name) + LR"(,"state":)" +
           JsonQuote(StateName(service)) + L"}}";
}

// What programs get of a service that answers. The state is the service manager's word, as for an absent one:
// of a service that runs in the foreground the manager knows nothing.
std::wstring PresentService(QxCommon::JsonDb& reply)
{
    QxCommon::JsonDb state;
    state.ParseFromString(JsonQuote(StateName(QueryHostService())));
    reply[L"service"][L"state"].Assign(state);
    return JsonLine(reply);
}
} // namespace

int RunStatus(const Arguments& arguments, ControlClient& client, Output& output)
{
    const MailAnswer answer = client.Mail(Control::PluginId, Control::Status, L"{}", limit);
    if (answer.Failed())
    {
        const int code = ReportFailure(answer, output);
        if (code == ExitCode::NotReachable && arguments.wantsJson)
        {
            output.Line(AbsentService());
        }
        return code;
    }
    QxCommon::JsonDb reply;
    if (reply.ParseFromString(answer.json) != 0)
    {
        output.Note(L"the service's reply is no JSON; are service and qxctl of one version?");
        return ExitCode::Refused;
    }
    const bool isWritten =
        arguments.wantsJson ? output.Line(PresentService(reply)) : output.Write(StatusTable(reply));
    return isWritten ? ExitCode::Ok : ExitCode::Refused;
}

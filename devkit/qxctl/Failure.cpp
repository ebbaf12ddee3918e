#include "Failure.h"

#include <windows.h>

#include <array>
#include <cstdint>

#include "Arguments.h"
#include "ServiceState.h"
#include "VzComn_String.h"

namespace
{
struct Meaning
{
    AgentStatus status;
    const wchar_t* text;
};

constexpr std::array<Meaning, 9> meanings = {{
    {Status::FromSystemError(ERROR_ACCESS_DENIED), L"access denied: run qxctl as an administrator"},
    {Status::FromSystemError(ERROR_TIMEOUT), L"timed out"},
    {Status::FromSystemError(ERROR_NETWORK_UNREACHABLE), L"the client is gone"},
    {Status::FromSystemError(ERROR_INSUFFICIENT_BUFFER), L"too large"},
    {Status::FromSystemError(ERROR_MOD_NOT_FOUND), L"the file is missing"},
    {Status::InvalidParameter, L"invalid parameter, or an incomplete answer"},
    {Status::NoCallback, L"the client takes no commands"},
    {Status::NotFound, L"not found"},
    {Status::UnknownClient, L"the service does not know this client"},
}};

std::wstring ServiceAdvice(AgentStatus call)
{
    const ServiceState service = QueryHostService();
    if (service.state == SERVICE_RUNNING)
    {
        return service.name + L" does not answer (" + Describe(call) + L"); restart it";
    }
    if (service.error == ERROR_SERVICE_DOES_NOT_EXIST)
    {
        return service.name + L" is not installed; install it with QxSvcHost --install";
    }
    const std::wstring state = service.name + L" is " + StateName(service);
    return service.state == SERVICE_STOPPED ? state + L"; start it with QxSvcHost --start"
                                            : state + L"; try again (" + Describe(call) + L")";
}
} // namespace

std::wstring Describe(AgentStatus status)
{
    std::wstring text = VzCommon::String::Format(L"0x%08x", static_cast<unsigned>(status));
    for (const Meaning& meaning : meanings)
    {
        if (meaning.status == status)
        {
            text += std::wstring(L", ") + meaning.text;
        }
    }
    return text;
}

bool IsRefusal(AgentStatus call)
{
    return call == Status::FromSystemError(ERROR_ACCESS_DENIED) ||
           call == Status::FromSystemError(ERROR_INSUFFICIENT_BUFFER) || call == Status::OutOfMemory;
}

int ReportFailure(const MailAnswer& answer, Output& output)
{
    // The service itself refuses in its answer, never so.
    if (answer.call == Status::FromSystemError(ERROR_ACCESS_DENIED))
    {
        output.Note(L"the endpoint is not that of " + QueryHostService().name +
                    L", or closed to this user; look which process has opened it");
        return ExitCode::NotReachable;
    }
    if (Status::Failed(answer.call) && !IsRefusal(answer.call))
    {
        output.Note(ServiceAdvice(answer.call));
        return ExitCode::NotReachable;
    }
    output.Note(L"refused: " + Describe(Status::Failed(answer.call) ? answer.call : answer.result));
    return ExitCode::Refused;
}

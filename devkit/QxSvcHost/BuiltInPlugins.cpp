#include "BuiltInPlugins.h"

#include <windows.h>

#include <limits>

#include "JsonWriter.h"
#include "MessageIds.h"
#include "QxCommon_JsonDb.h"
#include "VzComn_Handle.h"
#include "VzComn_LogFront.h"

namespace SvcHost
{
namespace
{
// A mail that the plug-in does not know.
MailReply Unknown()
{
    return {Status::NotFound};
}

// Of a request for a handle, in characters: far more than {"pid": number} takes. Parsing takes many times the
// memory of the text, so no client decides how much of it.
constexpr std::size_t longestRequest = 256;

bool IsOf(const std::optional<std::wstring>& request, std::uint32_t processId)
{
    QxCommon::JsonDb json;
    return request && request->size() <= longestRequest && json.ParseFromString(*request) == 0 &&
           json.HasMember(L"pid") && QxCommon::UIntOrZero(json[L"pid"]) == processId;
}

// "No privilege" is a handle of its own.
constexpr std::uint64_t noPrivilege = std::numeric_limits<std::uint64_t>::max();

std::uint64_t DuplicateOwnHandle(std::uint32_t processId)
{
    const VzCommon::KernelHandle caller(OpenProcess(PROCESS_DUP_HANDLE, FALSE, processId));
    HANDLE duplicate = nullptr;
    if (!caller || !DuplicateHandle(GetCurrentProcess(), GetCurrentProcess(), caller.Get(), &duplicate,
                                    SYNCHRONIZE, FALSE, 0))
    {
        const DWORD error = GetLastError();
        LOG_WARN << L"no handle for process " << processId << L", error=" << error;
        return noPrivilege;
    }
    return reinterpret_cast<std::uint64_t>(duplicate);
}
} // namespace

MailReply EventCenterPlugin::OnMail(const MailRequest& mail)
{
    return mail.mailId == ::Mail::Event ? MailReply{Status::Success} : Unknown();
}

MailReply UserActivityPlugin::OnMail(const MailRequest& mail)
{
    const bool known = mail.mailId == ::Mail::ActiveWindow || mail.mailId == ::Mail::InputInfo;
    return known ? MailReply{Status::Success} : Unknown();
}

MailReply HostProcessPlugin::OnMail(const MailRequest& mail)
{
    if (mail.mailId != ::Mail::DuplicateHostHandle)
    {
        return Unknown();
    }
    // Never into another process than the caller's, whatever it asks for.
    if (!IsOf(mail.json, mail.caller.processId))
    {
        LOG_WARN << L"process " << mail.caller.processId << L" asked for a handle in another process";
        return {Status::InvalidParameter};
    }
    const std::uint64_t handle = DuplicateOwnHandle(mail.caller.processId);
    return {Status::Success, JsonObject().Number(L"handle", handle).Finish()};
}

} // namespace SvcHost

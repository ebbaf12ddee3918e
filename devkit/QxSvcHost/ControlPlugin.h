#pragma once

#include <functional>
#include <string>

#include "AnswerRules.h"
#include "ClientTable.h"
#include "Commander.h"
#include "Journal.h"
#include "Plugin.h"

namespace QxCommon
{
class JsonDb;
}

namespace SvcHost
{

// Watches and drives the service from outside; see ControlMails.h. For administrators only.
class ControlPlugin : public Plugin
{
public:
    // All must outlive this.
    struct Parts
    {
        const ClientTable& clients;
        Journal& journal;
        AnswerRules& rules;
        Commander& commander;
    };

    using IsAllowed = std::function<bool(std::uint32_t processId)>;

    ControlPlugin(const Parts& parts, std::wstring serviceName, IsAllowed isAllowed);

    MailReply OnMail(const MailRequest& mail) override;

private:
    MailReply Dispatch(std::uint32_t mailId, QxCommon::JsonDb& request);
    [[nodiscard]] MailReply ReportStatus() const;
    MailReply Send(QxCommon::JsonDb& request);
    MailReply Watch(QxCommon::JsonDb& request);
    MailReply Answer(QxCommon::JsonDb& request);

    Parts m_parts;
    std::wstring m_serviceName;
    std::wstring m_startedAt;
    IsAllowed m_isAllowed;
};

} // namespace SvcHost

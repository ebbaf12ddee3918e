#pragma once

#include "Plugin.h"

namespace SvcHost
{

// Events of the sessions. The journal has them already, so there is nothing more to do.
class EventCenterPlugin : public Plugin
{
public:
    MailReply OnMail(const MailRequest& mail) override;
};

// The foreground process and the time of the last input.
class UserActivityPlugin : public Plugin
{
public:
    MailReply OnMail(const MailRequest& mail) override;
};

// Gives a client a handle to this process, good for nothing but waiting for its end.
class HostProcessPlugin : public Plugin
{
public:
    MailReply OnMail(const MailRequest& mail) override;
};

} // namespace SvcHost

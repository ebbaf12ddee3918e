#pragma once

#include <string>

#include "ControlClient.h"
#include "Output.h"

// The status as "0xe0ff0007", with what it means where that is known.
[[nodiscard]] std::wstring Describe(AgentStatus status);

// True for a failed call that a service answered so itself: asking again is no use.
[[nodiscard]] bool IsRefusal(AgentStatus call);

// Says why a mail failed, in one line, and gives the exit code. A mail that was not answered is put down to
// the service's state.
[[nodiscard]] int ReportFailure(const MailAnswer& answer, Output& output);

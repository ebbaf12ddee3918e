#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "Arguments.h"
#include "ControlClient.h"
#include "Output.h"
#include "QxCommon_JsonDb.h"

// Prints the mails and events of the service's journal as they come, or all records if everything is wanted,
// across restarts of the service.
class Watcher
{
public:
    // All must outlive it.
    Watcher(const Arguments& arguments, ControlClient& client, Output& output);

    // Gives the program's exit code.
    [[nodiscard]] int Run();

private:
    using Clock = std::chrono::steady_clock;

    enum class Step
    {
        Done,    // the next one may follow
        Over,    // the time is over, and nothing is left to read
        Lost,    // the service is gone
        Refused, // for good; said
        Unread   // nobody takes the output any more
    };

    // Finds the service and says so. A service that was started since the last time is read from its
    // beginning.
    Step Attach();

    // Passes over what is there already.
    Step BeginNow();
    Step ReadOn();
    Step Print(QxCommon::JsonDb& records);
    Step Judge(const MailAnswer& answer);

    // Waits for the service to be back. Lost: the time is over.
    Step Reattach();

    [[nodiscard]] bool IsDone() const;
    [[nodiscard]] std::chrono::milliseconds TimeLeft(std::chrono::milliseconds most) const;

    // Sends one control mail that takes as long as told, within the time that is left.
    [[nodiscard]] MailAnswer Ask(std::uint32_t mailId, const std::wstring& request,
                                 std::chrono::milliseconds wait);
    [[nodiscard]] int TimedOut() const;

    const Arguments& m_arguments;
    ControlClient& m_client;
    Output& m_output;
    Clock::time_point m_end;
    std::wstring m_service; // which run of the service is being watched
    std::uint64_t m_after = 0;
    std::uint32_t m_printed = 0;
    MailAnswer m_lastFailure;
    int m_refusal = ExitCode::Refused; // the exit code of Step::Refused
};

#pragma once

#include "FastSeconds.h"
#include "ImportPatch.h"
#include "InstalledService.h"
#include "LogCapture.h"
#include "QxCommon_service.h"
#include "VzComn_Synchronize.h"

#include <gmock/gmock.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

// The operations on the host service against real services of the real manager, in a time that the test
// makes: a second lasts a few milliseconds, and the test may act in each.
class ServiceScene : public testing::Test
{
protected:
    // Installs the test service under the product's service name.
    void Install(const std::wstring& mode, DWORD startType = SERVICE_DEMAND_START);
    void InstallRunning(const std::wstring& mode);
    void InstallStopPending();

    // What the watchdog does with its first request: called in a second in which the event is signalled.
    void PlayWatchdog(const std::wstring& eventName, std::function<void()> answer);

    // Makes the event as a foreign process would, with rights that do not let anybody signal it.
    void ForbidToSignal(const std::wstring& eventName);

    [[nodiscard]] bool IsSignalled() const;

    // The log's lines: level tag and text, "!!! Service is already running...".
    [[nodiscard]] std::vector<std::wstring> Lines() const;

    TestSupport::FastSeconds seconds{50};
    std::optional<TestSupport::InstalledService> service;
    VzCommon::Synchronize::Event event;

private:
    VzCommon::KernelHandle m_forbidden;
    TestSupport::LogCapture m_log{0x0111}; // everything but DEBUG
};

// The status of a failed system call.
[[nodiscard]] constexpr AgentStatus Failed(std::uint32_t bits)
{
    return Status::FromBits(bits);
}

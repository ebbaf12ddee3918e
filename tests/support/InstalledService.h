#pragma once

#include "VzComn_Handle.h"

#include <windows.h>

#include <winsvc.h>

#include <string>

namespace TestSupport
{

// A service of the service manager for the length of a scope. Removed at the end, running or not; one that an
// earlier test left under the name goes first. Throws std::runtime_error where the manager refuses.
class InstalledService
{
public:
    // Runs tests/programs/TestService in the mode, which may end in the milliseconds.
    InstalledService(const std::wstring& name, const std::wstring& mode,
                     DWORD startType = SERVICE_DEMAND_START);

    // Any command line.
    struct Command
    {
        std::wstring line;
    };

    InstalledService(const std::wstring& name, const Command& command,
                     DWORD startType = SERVICE_DEMAND_START);
    ~InstalledService();

    InstalledService(const InstalledService&) = delete;
    InstalledService& operator=(const InstalledService&) = delete;

    // Asks only; the state follows.
    void Start() const;
    void Stop() const;

    // Waits for the state. False when it does not come.
    [[nodiscard]] bool Reaches(DWORD state) const;

    // As the manager tells it, which does not hear of every death.
    [[nodiscard]] DWORD State() const;

    // 0 if the manager knows none.
    [[nodiscard]] DWORD ProcessId() const;

    // Ends the service's process and waits for that.
    void Kill() const;

private:
    VzCommon::ServiceHandle m_manager;
    VzCommon::ServiceHandle m_service;
};

} // namespace TestSupport

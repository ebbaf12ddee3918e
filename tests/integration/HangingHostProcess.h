#pragma once

#include <cstdint>
#include <string>

#include "PeerEvent.h"
#include "Processes.h"
#include "VzComn_Handle.h"

// A HangingHost whose endpoint is open, killed at the end of the scope.
class HangingHostProcess
{
public:
    HangingHostProcess() : HangingHostProcess(std::wstring()) {} // no command hangs

    explicit HangingHostProcess(std::uint32_t commandId) : HangingHostProcess(std::to_wstring(commandId)) {}

    [[nodiscard]] bool IsReady() const { return m_isReady; }

    // Waits until the command hangs in the host.
    [[nodiscard]] bool Hangs() const { return TestSupport::IsSignalledInTime(m_arrived); }

    // Hangs as a whole, the connections too.
    void Suspend() { m_process.Suspend(); }

    void Resume()
    {
        m_process.Resume();
        SetEvent(m_release.Get());
    }

    void Kill() { m_process.Kill(); }

private:
    explicit HangingHostProcess(const std::wstring& argument)
        : m_process(Beside(L"HangingHost.exe") + L' ' + argument)
    {
        m_isReady = TestSupport::IsSignalledInTime(TestSupport::PeerEvent(L"ready", m_process.Id()));
    }

    Process m_process;
    VzCommon::KernelHandle m_arrived = TestSupport::PeerEvent(L"arrived", m_process.Id());
    VzCommon::KernelHandle m_release = TestSupport::PeerEvent(L"release", m_process.Id());
    bool m_isReady = false;
};

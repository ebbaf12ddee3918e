#pragma once

#include <windows.h>

#include <string>

#include "VzComn_Handle.h"

// The product's reference host service out of the staged tree: installed and running for the length of a
// scope, for what cannot run without it.
class HostService
{
public:
    explicit HostService(const std::wstring& stage);
    ~HostService();

    HostService(const HostService&) = delete;
    HostService& operator=(const HostService&) = delete;

    // False if it could not be installed or did not come up.
    [[nodiscard]] bool IsReady() const { return m_ready; }

    // Ends the process as a crash would. True when it is gone.
    [[nodiscard]] bool Kill();

    // Starts it again after Kill, and does not wait.
    [[nodiscard]] bool StartAgain();

private:
    [[nodiscard]] bool Run(const wchar_t* option) const;
    [[nodiscard]] DWORD ProcessId() const;

    std::wstring m_program;
    bool m_ready = false;
    VzCommon::ServiceHandle m_manager;
    VzCommon::ServiceHandle m_service;
};

// Starts a program with the rest of its command line; null if that fails.
[[nodiscard]] VzCommon::KernelHandle StartProgram(const std::wstring& program, const std::wstring& arguments);

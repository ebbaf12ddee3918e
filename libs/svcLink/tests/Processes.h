#pragma once

#include "VzComn_Handle.h"

#include <string>

// A program that was started, killed at the end of the scope.
class Process
{
public:
    // Throws std::runtime_error if it cannot be started.
    explicit Process(const std::wstring& commandLine);
    ~Process();

    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    void Kill();
    void Suspend();
    void Resume();

    // 259 while it runs.
    [[nodiscard]] unsigned long ExitCode() const;

    [[nodiscard]] unsigned long Id() const { return m_id; }

private:
    VzCommon::KernelHandle m_process;
    unsigned long m_id = 0;
};

// Full path of a program beside the tests, in quotation marks.
[[nodiscard]] std::wstring Beside(const std::wstring& file);

#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "TempDir.h"
#include "VzComn_Handle.h"

// The host service's program in a folder of its own, under the file name of a product.
class HostProgram
{
public:
    struct Ended
    {
        DWORD code = 0xFFFFFFFF;
        std::string output; // both streams
    };

    explicit HostProgram(const std::wstring& fileName);

    // Removes the service, whatever state it is in.
    ~HostProgram();

    HostProgram(const HostProgram&) = delete;
    HostProgram& operator=(const HostProgram&) = delete;

    // Runs the program to its end.
    [[nodiscard]] Ended Run(const std::wstring& arguments) const;

    // Starts it and does not wait.
    [[nodiscard]] VzCommon::KernelHandle Begin(const std::wstring& arguments) const;

    [[nodiscard]] const std::wstring& Path() const { return m_path; }

private:
    [[nodiscard]] VzCommon::KernelHandle Create(const std::wstring& arguments, DWORD flags,
                                                HANDLE output) const;

    std::unique_ptr<TestSupport::TempDir> m_folder = std::make_unique<TestSupport::TempDir>();
    std::wstring m_path;
};

#pragma once

#include <windows.h>

#include <shellapi.h>

#include <optional>
#include <string>
#include <vector>

#include "ImportPatch.h"

// What the shell was told to execute.
struct Execution
{
    SHELLEXECUTEINFOW info{}; // its pointers are stale
    // Nothing for a pointer that was null.
    std::optional<std::wstring> verb;
    std::optional<std::wstring> file;
    std::optional<std::wstring> parameters;
};

// Stands in for the shell for the length of a scope. One at a time.
class FakeShell
{
public:
    FakeShell();
    ~FakeShell();

    FakeShell(const FakeShell&) = delete;
    FakeShell& operator=(const FakeShell&) = delete;

    std::vector<Execution> executions;
    DWORD error = 0; // with which it fails

private:
    static BOOL WINAPI Execute(SHELLEXECUTEINFOW* info);

    TestSupport::ImportPatch m_patch{nullptr, "ShellExecuteExW", &FakeShell::Execute};
};

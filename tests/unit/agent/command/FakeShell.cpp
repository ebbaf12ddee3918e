#include "FakeShell.h"

namespace
{
FakeShell* g_shell = nullptr;

std::optional<std::wstring> TextOf(const wchar_t* text)
{
    return text != nullptr ? std::optional<std::wstring>(text) : std::nullopt;
}
} // namespace

FakeShell::FakeShell()
{
    g_shell = this;
}

FakeShell::~FakeShell()
{
    g_shell = nullptr;
}

BOOL WINAPI FakeShell::Execute(SHELLEXECUTEINFOW* info)
{
    g_shell->executions.push_back(
        {*info, TextOf(info->lpVerb), TextOf(info->lpFile), TextOf(info->lpParameters)});
    if (g_shell->error != 0)
    {
        SetLastError(g_shell->error);
        return FALSE;
    }
    return TRUE;
}

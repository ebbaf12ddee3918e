#include "FakeShell.h"

namespace
{
FakeShell* g_shell = nullptr;
}

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
    g_shell->executions.push_back({*info, info->lpVerb, info->lpFile, info->lpParameters});
    if (g_shell->error != 0)
    {
        SetLastError(g_shell->error);
        return FALSE;
    }
    return TRUE;
}

#include "ShellExecution.h"

#include <windows.h>

#include <shellapi.h>

#include <string>

#include "VzComn_Handle.h"
#include "VzComn_LogFront.h"

namespace
{
static_assert(sizeof(SHELLEXECUTEINFOW) == 112);

// Deliberate: the name may be a pattern or a folder, and the search path is not looked through.
bool CanBeFound(const std::wstring& file)
{
    if (file.empty())
    {
        return false;
    }
    WIN32_FIND_DATAW found{};
    const VzCommon::FindHandle search(FindFirstFileW(file.c_str(), &found));
    return static_cast<bool>(search);
}

HWND WindowFrom(std::uint64_t number)
{
    return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(number)); // NOLINT(performance-no-int-to-ptr)
}

int ShowCommandOf(QxCommon::JsonDb& command)
{
    return command.HasMember(L"showCmd") ? QxCommon::IntOrZero(command[L"showCmd"]) : SW_SHOW;
}
} // namespace

AgentStatus ExecuteThroughShell(QxCommon::JsonDb& command)
{
    const std::wstring file = command[L"file"].AsString();
    if (!CanBeFound(file))
    {
        LOG_ERROR << L"Fail to execute, file = " << file;
        return Status::NotFound;
    }
    const std::wstring action = command[L"action"].AsString();
    const std::wstring param = command[L"param"].AsString();

    SHELLEXECUTEINFOW execution{};
    execution.cbSize = sizeof(execution);
    execution.hwnd = WindowFrom(QxCommon::UInt64OrZero(command[L"windowHandle"]));
    execution.lpVerb = action.c_str();
    execution.lpFile = file.c_str();
    execution.lpParameters = param.c_str();
    execution.nShow = ShowCommandOf(command);
    if (ShellExecuteExW(&execution) == FALSE)
    {
        const DWORD error = GetLastError();
        LOG_ERROR << L"Failed to execute, [wstrFile=" << file << L"][wstrParam=" << param << L"][wstrVerb="
                  << action << L"][GetLastError()=" << error << L"]";
        return Status::Failure;
    }
    return Status::Success;
}

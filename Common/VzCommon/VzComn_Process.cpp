#include "VzComn_Process.h"

#include "VzComn_Handle.h"
#include "VzComn_LogFront.h"
#include "VzComn_SecurityAttributes.h"

#include <windows.h>

namespace VzCommon::Process
{

AgentStatus InvokeProcessAsynch(const std::wstring& commandLine)
{
    AccessControl::SecurityAttributes processAttributes(AccessControl::Kind::Process, false);
    AccessControl::SecurityAttributes threadAttributes(AccessControl::Kind::None, false);

    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.wShowWindow = SW_SHOW; // Deliberate: without effect, for no flag asks for it

    std::wstring writable(commandLine); // the call may write into its command line
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, writable.data(), processAttributes.ForCreation(),
                        threadAttributes.ForCreation(), FALSE, CREATE_NEW_PROCESS_GROUP, nullptr, nullptr,
                        &startup, &process))
    {
        const DWORD error = GetLastError();
        LOG_ERROR << L"VzCommon::Process::InvokeProcessAsynch() failed. " << error;
        return Status::FromSystemError(error);
    }
    const KernelHandle processHandle(process.hProcess);
    const KernelHandle threadHandle(process.hThread);
    return Status::Success;
}

} // namespace VzCommon::Process

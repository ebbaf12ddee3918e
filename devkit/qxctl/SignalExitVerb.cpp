#include "Verbs.h"

#include <windows.h>

#include "Failure.h"
#include "FrwkMode.h"
#include "QxCommon_names.h"
#include "VzComn_Handle.h"

int RunExit(Output& output)
{
    const std::wstring name = QxCommon::GetExitEventName();
    const VzCommon::KernelHandle event(OpenEventW(EVENT_MODIFY_STATE, FALSE, name.c_str()));
    if (!event && GetLastError() == ERROR_FILE_NOT_FOUND)
    {
        output.Note(L"there is no exit event of " + QxCommon::GetProductId() + L": no agent is running");
        return ExitCode::Refused;
    }
    if (!event || !SetEvent(event.Get()))
    {
        output.Note(L"the exit event cannot be signalled: " +
                    Describe(Status::FromSystemError(GetLastError())));
        return ExitCode::Refused;
    }
    return ExitCode::Ok;
}

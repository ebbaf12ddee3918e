#include "ProcessTime.h"

#include "VzComn_Handle.h"

#include <windows.h>

namespace SvcLink
{

std::uint64_t ProcessCreationTime(std::uint32_t processId)
{
    const VzCommon::KernelHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    FILETIME created{};
    FILETIME exited{};
    FILETIME kernel{};
    FILETIME user{};
    if (!process || !GetProcessTimes(process.Get(), &created, &exited, &kernel, &user))
    {
        return 0;
    }
    return (static_cast<std::uint64_t>(created.dwHighDateTime) << 32) | created.dwLowDateTime;
}

} // namespace SvcLink

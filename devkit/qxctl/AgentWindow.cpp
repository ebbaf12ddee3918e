#include "AgentWindow.h"

#include <wtsapi32.h>

#include <cwchar>
#include <string>

#include "FrwkMode.h"
#include "ObjectNames.h"
#include "VzComn_Handle.h"

namespace
{
struct TerminalMemoryTraits
{
    using Type = WTS_PROCESS_INFOW*;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type memory) noexcept
    {
        WTSFreeMemory(memory);
        return true;
    }
};

struct Search
{
    std::wstring mark;
    std::vector<AgentWindow> found;
};

BOOL CALLBACK TakeIfMarked(HWND window, LPARAM parameter)
{
    auto& search = *reinterpret_cast<Search*>(parameter);
    if (GetPropW(window, search.mark.c_str()) == reinterpret_cast<HANDLE>(1))
    {
        DWORD processId = 0;
        GetWindowThreadProcessId(window, &processId);
        search.found.push_back({window, processId});
    }
    return TRUE;
}
} // namespace

std::vector<AgentWindow> FindAgentWindows()
{
    Search search{ObjectNames::FrameProperty(), {}};
    EnumWindows(&TakeIfMarked, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

std::vector<AgentProcess> FindAgentProcesses()
{
    const std::wstring name = QxCommon::MapProductFileName(L"QxSessionAgent.exe");
    VzCommon::UniqueHandle<TerminalMemoryTraits> processes;
    DWORD count = 0;
    if (!WTSEnumerateProcessesW(WTS_CURRENT_SERVER_HANDLE, 0, 1, processes.Put(), &count))
    {
        return {};
    }
    std::vector<AgentProcess> found;
    for (DWORD i = 0; i < count; ++i)
    {
        const WTS_PROCESS_INFOW& process = processes.Get()[i];
        if (process.pProcessName != nullptr && _wcsicmp(process.pProcessName, name.c_str()) == 0)
        {
            found.push_back({process.ProcessId, process.SessionId});
        }
    }
    return found;
}

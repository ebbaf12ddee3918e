#include "SpecialEngineHost.h"

#include <windows.h>

#include <string>
#include <thread>

#include "EngineAction.h"

namespace
{
bool HasBegunToPerform()
{
    const HMODULE library = GetModuleHandleW(L"Quenta.dll");
    const auto events = reinterpret_cast<const wchar_t* (*)()>(
        reinterpret_cast<void*>(GetProcAddress(library, "EngineEvents")));
    return std::wstring(events()).ends_with(L"Perform();");
}

// On a thread that nobody waits for, as the link's.
void BeginToPerform(std::uint32_t trackId)
{
    std::thread(
        [trackId]
        {
            QxCommon::JsonDb command;
            command[L"action"].SetUInt(EngineAction::Perform);
            command[L"trackId"].SetUInt(trackId);
            g_specialEngineHost.Dispatch(command);
        })
        .detach();
    while (!HasBegunToPerform())
    {
        Sleep(1);
    }
}
} // namespace

// Arguments: the item ids of the engines. Ends with the number of those that could be made, while the slow
// ones of them perform.
int main(int count, char* arguments[])
{
    int made = 0;
    g_specialEngineHost.Initialize();
    for (int i = 1; i < count; ++i)
    {
        const std::string itemId(arguments[i]);
        QxCommon::JsonDb command;
        command.ParseFromString(L"{\"itemId\":\"" + std::wstring(itemId.begin(), itemId.end()) +
                                L"\",\"sessionId\":\"exception\"}");
        command[L"action"].SetUInt(EngineAction::Create);
        made += Status::Failed(g_specialEngineHost.Dispatch(command)) ? 0 : 1;
        if (itemId == "slow")
        {
            BeginToPerform(QxCommon::UIntOrZero(command[L"data"][L"trackId"]));
        }
    }
    return made;
}

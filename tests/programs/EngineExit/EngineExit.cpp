#include "SpecialEngineHost.h"

#include "EngineAction.h"

// Arguments: the item ids of the engines. Ends with the number of those that could be made.
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
    }
    return made;
}

#include "AgentPath.h"

#include <algorithm>

#include "FrwkMode.h"
#include "QxCommon_utility.h"

namespace WatchDog
{

std::wstring AgentPath()
{
    std::wstring folder = QxCommon::GetRegistryProductPath();
    if (folder.empty())
    {
        folder = QxCommon::GetModuleFolder();
        folder.resize(std::min(folder.size(), folder.rfind(L'\\')));
    }
    return QxCommon::AppendName(folder, QxCommon::MapProductFileName(L"QxSessionAgent.exe"));
}

} // namespace WatchDog

#include "UiLaunch.h"

#include "FrwkMode.h"
#include "QxCommon_utility.h"
#include "VzComn_LogFront.h"
#include "VzComn_Process.h"
#include "VzComn_String.h"

namespace
{
std::wstring ConsolePath()
{
    const std::wstring folder = QxCommon::GetBinariesFolder();
    return QxCommon::AppendName(folder, QxCommon::MapProductFileName(L"QxMainConsole.exe"));
}
} // namespace

AgentStatus ShowQxUi(const std::wstring& arguments)
{
    const std::wstring path = ConsolePath();
    // Deliberate: the blank stays when there are no arguments.
    const std::wstring commandLine = VzCommon::String::Format(L"\"%s\" %s", path.c_str(), arguments.c_str());
    LOG_INFO << L"Show QX UI. Command-line: " << commandLine;
    return VzCommon::Process::InvokeProcessAsynch(commandLine);
}

AgentStatus ShowPopup(const std::wstring& featureId, std::uint32_t popupId, const std::wstring& param)
{
    return ShowQxUi(
        VzCommon::String::Format(L"-p \"%s\" %d \"%s\"", featureId.c_str(), popupId, param.c_str()));
}

#include "LinkLibrary.h"

#include <windows.h>

#include "LinkExports.h"
#include "QxCommon_utility.h"
#include "VzComn_Library.h"
#include "VzComn_LogFront.h"

namespace
{
AgentStatus CheckExports(const VzCommon::Library::Base& library, const std::wstring& path)
{
    for (const wchar_t* const name : LinkExports)
    {
        std::uint32_t error = 0;
        if (library.Resolve(name, &error) == nullptr)
        {
            LOG_ERROR << L"<" << path << L"> lacks the export " << name << L", error=" << error;
            return Status::FromSystemError(error);
        }
    }
    return Status::Success;
}
} // namespace

AgentStatus LoadLinkLibrary()
{
    const std::wstring path = QxCommon::AppendName(QxCommon::GetModuleFolder(), L"svcLink.dll");
    VzCommon::Library::Base library;
    std::uint32_t error = 0;
    if (!library.Load(path.c_str(), nullptr, &error))
    {
        LOG_ERROR << L"failed to load <" << path << L">, error=" << error;
        return Status::FromSystemError(error);
    }
    const AgentStatus status = CheckExports(library, path);
    if (!Status::Failed(status))
    {
        // For good: threads of the library run until the process ends.
        HMODULE module = nullptr;
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN, path.c_str(), &module);
    }
    return status;
}

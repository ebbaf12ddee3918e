#include "StringTable.h"

#include "VzComn_FileBase.h"
#include "VzComn_LogFront.h"

QxCommon::JsonDb& CStringTable::Instance()
{
    static QxCommon::JsonDb table;
    return table;
}

bool CStringTable::ParseStringTable(QxCommon::JsonDb& table, const std::wstring& file)
{
    if (!VzCommon::Storage::FileBase::Exists(file))
    {
        LOG_ERROR << L"UiDeskTrayString.json file does not exist. Path: " << file;
        return false;
    }
    const AgentStatus status = QxCommon::JsonDb::ParseFromFile(file, table);
    if (Status::Failed(status))
    {
        LOG_ERROR << L"Failed to load JSON file <" << file << L">, error = 0x" << std::hex << status;
        return false;
    }
    LOG_INFO << (VzCommon::IsLogEnabledFor(VzCommon::LogLevel::Info) ? table.ToStyledString() : L"");
    return true;
}

std::wstring GetLocalizedString(QxCommon::JsonDb& table, const std::wstring& section,
                                const std::wstring& name)
{
    return table[section][name].AsString();
}

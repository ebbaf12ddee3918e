#define LOG_CLASS_TAG L"QxCommon"
#include "QxLocaleHelper.h"

#include "QxCommon_JsonDb.h"
#include "VzComn_LogFront.h"

#include <windows.h>

#include <ios>

namespace QxCommon
{
namespace
{

// Gives the locale name of the first element for the language. An element without a number counts as language
// 0. False if no element is for the language.
bool FindLocaleName(JsonDb& mappingFile, std::int32_t language, std::wstring& localeName)
{
    JsonDb mapping(mappingFile[L"localMapping"]);
    const std::uint32_t count = mapping.Size();
    for (std::uint32_t i = 0; i < count; ++i)
    {
        if (IntOrZero(mapping[i][L"lcid"]) == language)
        {
            localeName = mapping[i][L"localeName"].AsString();
            return true;
        }
    }
    return false;
}

} // namespace

AgentStatus QxLocaleHelper::GetLocaleName(std::wstring& localeName, const std::wstring& path, bool useCache)
{
    if (useCache && Instance().TakeAnswer(localeName))
    {
        LOG_INFO << L"m_localName exist, just return it";
        return Status::Success;
    }
    JsonDb mappingFile;
    const AgentStatus status = JsonDb::ParseFromFile(path, mappingFile);
    if (mappingFile.IsNull())
    {
        LOG_ERROR << L"Parse localMapping file error: 0x" << std::hex << static_cast<std::uint32_t>(status);
        return status;
    }
    const LANGID language = GetUserDefaultUILanguage();
    if (FindLocaleName(mappingFile, language, localeName))
    {
        LOG_INFO << L"Get locale name, lcid: " << language << L", localeName: " << localeName;
    }
    else
    {
        // Deliberate: the line says en-us whatever the file's default is.
        localeName = mappingFile[L"defaultLocal"].AsString();
        LOG_INFO << L"Get locale name, unsupport language, return en-us, lcid: " << language;
    }
    Instance().Publish(localeName);
    return Status::Success;
}

QxLocaleHelper& QxLocaleHelper::Instance()
{
    static QxLocaleHelper s_instance;
    return s_instance;
}

bool QxLocaleHelper::TakeAnswer(std::wstring& localeName)
{
    const std::lock_guard lock(m_lock);
    if (m_localName.empty())
    {
        return false;
    }
    localeName = m_localName;
    return true;
}

void QxLocaleHelper::Publish(const std::wstring& localeName)
{
    const std::lock_guard lock(m_lock);
    m_localName = localeName;
}

} // namespace QxCommon

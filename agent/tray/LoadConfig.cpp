#include "ProfileParser.h"
#include "ProfileTexts.h"
#include "QxCommon_utility.h"
#include "StringTable.h"
#include "VzComn_LogFront.h"

#include <exception>

namespace
{

bool ReadConfig()
{
    const std::wstring root = QxCommon::GetProductPath();
    const std::wstring profile =
        QxCommon::AppendName(QxCommon::AppendName(root, L"Configuration"), L"UiDeskTrayProfile.xml");
    if (!CProfileParser::Instance().ParseXmlFile(root, profile))
    {
        LOG_ERROR << L"Parse QxSessionAgent profile file failed...";
        return false;
    }
    const std::wstring locale = QxCommon::GetLocaleName(true);
    // Deliberate: a root that ends in a backslash gets another one.
    const std::wstring strings = root + L"\\Misc\\Resource\\" + locale + L"\\UiDeskTrayString.json";
    if (!CStringTable::ParseStringTable(CStringTable::Instance(), strings))
    {
        LOG_ERROR << L"Parse QxSessionAgent L10n resource file failed...";
        return false;
    }
    BindProfileTexts(CProfileParser::Instance());
    return true;
}

} // namespace

bool LoadConfig()
{
    try
    {
        return ReadConfig();
    }
    catch (const std::exception&) // no memory for the data
    {
        LOG_ERROR << L"ALLOC MEMORY FAILURE...";
        return false;
    }
}

#include "ProfileTexts.h"

#include "ProfileParser.h"
#include "StringTable.h"
#include "VzComn_LogFront.h"

#include <vector>

namespace
{

void BindEntries(QxCommon::JsonDb& table, const wchar_t* section, std::map<UINT, TooltipEntry>& entries)
{
    for (auto& [id, entry] : entries)
    {
        entry.string = GetLocalizedString(table, section, entry.name);
        LOG_INFO << L"Text: " << entry.string;
    }
}

} // namespace

void BindProfileTexts(CProfileParser& parsedData)
{
    QxCommon::JsonDb& table = CStringTable::Instance();
    BindMenuTexts(table, parsedData.m_pMenuRoot.get());
    BindEntries(table, L"Tooltips", parsedData.m_mapTooltips);
    BindEntries(table, L"MsgBoxes", parsedData.m_mapMsgBoxes);
}

void BindMenuTexts(QxCommon::JsonDb& table, MenuNode* node)
{
    std::vector<MenuNode*> pending{node};
    while (!pending.empty())
    {
        MenuNode* const current = pending.back();
        pending.pop_back();
        if (current != nullptr)
        {
            current->text = GetLocalizedString(table, L"Menus", current->name);
            LOG_INFO << L"Text: " << current->text;
            pending.push_back(current->next.get());
            pending.push_back(current->child.get());
        }
    }
}

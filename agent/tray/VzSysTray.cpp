#include "VzSysTray.h"

#include "AgentIds.h"
#include "MenuConstruction.h"
#include "ProfileParser.h"
#include "VzComn_LogFront.h"
#include "resource.h"

#include <new>

static_assert(ID_TRAY_PLACE_HOLDER == Command::Default);

void CVzSysTray::CustomizeMenu(CMenu* pMenu)
{
    if (pMenu == nullptr)
    {
        LOG_ERROR << L"pMenu is NULL";
        return;
    }
    if (!pMenu->DeleteMenu(ID_TRAY_PLACE_HOLDER, MF_BYCOMMAND))
    {
        const DWORD error = GetLastError();
        LOG_ERROR << L"Can't delete place_holder menu item.";
        LOG_ERROR << L"CMenu::DeleteMenu GetLastError=" << error;
    }
    try
    {
        ConstructMenus(*pMenu, CProfileParser::Instance().m_pMenuRoot.get());
    }
    catch (const std::bad_alloc&)
    {
        LOG_ERROR << L"ALLOC MEMORY FAILURE..."; // the menu shows what it holds by now
    }
}

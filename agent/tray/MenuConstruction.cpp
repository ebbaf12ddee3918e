#include "MenuConstruction.h"

#include "MenuNode.h"
#include "VzComn_LogFront.h"
#include "VzComn_String.h"

#include <vector>

namespace
{

// Of menus within menus. The system goes down a menu by recursion, when it searches and when it destroys one,
// and some thousands of levels end the process.
constexpr std::size_t deepestLevel = 1000;

// A menu that is being filled.
struct Level
{
    HMENU menu; // Weak.
    const MenuNode* node;
};

bool Is(const std::wstring& text, const wchar_t* word)
{
    return VzCommon::String::CompareNoCase(text, word) == 0;
}

void MakeDefault(CMenu& menu, UINT id)
{
    MENUITEMINFOW info{};
    info.cbSize = sizeof info;
    if (!menu.GetMenuItemInfo(id, &info))
    {
        LOG_WARN << L"GetMenuItemInfo Failed...";
        return;
    }
    info.fMask |= MIIM_STATE;
    info.fState |= MFS_DEFAULT;
    if (!menu.SetMenuItemInfo(id, &info))
    {
        LOG_WARN << L"SetMenuItemInfo Failed...";
    }
}

// The submenu is to be filled; null if there is none.
HMENU AppendSubmenu(CMenu& menu, const MenuNode& node)
{
    CMenu popup;
    if (!popup.CreatePopupMenu() ||
        !menu.AppendMenu(MF_POPUP, reinterpret_cast<UINT_PTR>(popup.GetSafeHmenu()), node.text.c_str()))
    {
        return nullptr;
    }
    return popup.Detach();
}

void AppendItem(CMenu& menu, const MenuNode& node)
{
    menu.AppendMenu(MF_STRING, node.id, node.text.c_str());
    if (Is(node.font, L"bold"))
    {
        MakeDefault(menu, node.id);
    }
}

// The submenu that is to be filled next, if there is one.
HMENU AppendEntry(CMenu& menu, const MenuNode& node)
{
    if (Is(node.type, L"string") && node.child)
    {
        return AppendSubmenu(menu, node);
    }
    if (Is(node.type, L"string"))
    {
        AppendItem(menu, node);
    }
    else if (Is(node.type, L"separator"))
    {
        menu.AppendMenu(MF_SEPARATOR);
    }
    else
    {
        LOG_WARN << L"Unknown tray menu item...";
    }
    return nullptr;
}

} // namespace

void ConstructMenus(CMenu& menu, const MenuNode* firstNode)
{
    std::vector<Level> levels{{menu.GetSafeHmenu(), firstNode}};
    while (!levels.empty())
    {
        Level& level = levels.back();
        if (level.node == nullptr)
        {
            levels.pop_back();
            continue;
        }
        const MenuNode& node = *level.node;
        level.node = node.next.get();
        CMenu current;
        current.Attach(level.menu);
        if (levels.size() > deepestLevel && node.child)
        {
            LOG_WARN << L"Tray menu is too deep...";
        }
        else if (const HMENU popup = AppendEntry(current, node))
        {
            levels.push_back({popup, node.child.get()});
        }
        current.Detach();
    }
}

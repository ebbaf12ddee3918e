#pragma once

#include <afxwin.h>

struct MenuNode;

// Appends the node, its siblings and all below them to the menu, which then owns the submenus. Depth costs no
// stack. An entry of an unknown type is logged and left out, and so is one with children below the 1,000th
// submenu.
void ConstructMenus(CMenu& menu, const MenuNode* firstNode);

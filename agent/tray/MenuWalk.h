#pragma once

#include <windows.h>

struct MenuNode;
class CCmdUI;

// The first node of that command id, a node's own id before its subtree, its subtree before its next
// sibling; null when there is none. first may be null. The depth of the tree costs no stack.
[[nodiscard]] const MenuNode* FindMenuNode(const MenuNode* first, UINT id);

// Sets the check mark and the availability of the entry that is about to be shown; nothing for an id that
// the tree lacks.
void UpdateCommandUi(CCmdUI& record, const MenuNode* first, UINT id);

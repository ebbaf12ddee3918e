#pragma once

#include <windows.h>

#include <optional>

struct MenuNode;
class CCmdUI;

// Both look at the first node of that command id: a node's own id comes before its subtree, its subtree
// before its next sibling. first is the head of the top-level list and may be null.

// The command id of the handler; nothing for an id that the tree lacks.
[[nodiscard]] std::optional<UINT> FindMenuFunction(const MenuNode* first, UINT id);

// Sets the check mark and the availability of the entry that is about to be shown; nothing for an id that
// the tree lacks.
void UpdateCommandUi(CCmdUI& record, const MenuNode* first, UINT id);

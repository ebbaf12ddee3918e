#include "MenuWalk.h"

#include <vector>

#include <afxwin.h>

#include "ProfileParser.h"

namespace
{
// The depth of the tree costs no stack.
const MenuNode* FindMenuNode(const MenuNode* first, UINT id)
{
    std::vector<const MenuNode*> pending{first};
    while (!pending.empty())
    {
        const MenuNode* node = pending.back();
        pending.pop_back();
        if (node == nullptr)
        {
            continue;
        }
        if (node->id == id)
        {
            return node;
        }
        pending.push_back(node->next.get());
        pending.push_back(node->child.get());
    }
    return nullptr;
}
} // namespace

std::optional<UINT> FindMenuFunction(const MenuNode* first, UINT id)
{
    const MenuNode* node = FindMenuNode(first, id);
    return node == nullptr ? std::nullopt : std::optional(node->functionId);
}

void UpdateCommandUi(CCmdUI& record, const MenuNode* first, UINT id)
{
    if (const MenuNode* node = FindMenuNode(first, id))
    {
        record.SetCheck(node->checked ? 1 : 0);
        record.Enable(node->enabled ? TRUE : FALSE);
    }
}

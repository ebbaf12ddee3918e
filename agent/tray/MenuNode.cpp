#include "MenuNode.h"

#include <utility>

// Each node that is freed here has neither child nor sibling left: its child's list is hung in before its own
// siblings, one node at a time.
MenuNode::~MenuNode()
{
    std::unique_ptr<MenuNode> pending = std::move(child);
    std::unique_ptr<MenuNode> siblings = std::move(next);
    while (pending || siblings)
    {
        if (!pending)
        {
            pending = std::move(siblings);
        }
        std::unique_ptr<MenuNode> node = std::move(pending);
        pending = std::move(node->next);
        if (node->child)
        {
            MenuNode* last = node->child.get();
            while (last->next)
            {
                last = last->next.get();
            }
            last->next = std::move(pending);
            pending = std::move(node->child);
        }
    }
}

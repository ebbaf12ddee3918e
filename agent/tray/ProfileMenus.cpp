// The profile's menus.
#include "ProfileParser.h"

#include "AgentIds.h"
#include "ProfileNumber.h"
#include "VzComn_LogFront.h"
#include "VzComn_XmlElement.h"

#include <vector>

using VzCommon::Storage::XmlElement;

namespace
{

// A list of siblings that is being read.
struct ElementLevel
{
    XmlElement* list;    // Weak. Whose children they are.
    XmlElement* element; // Weak. The one in hand.
    MenuNode* node;      // Weak. What it becomes.
    bool isRead = false; // only its subtree and its siblings are to come
};

void Read(const XmlElement& element, MenuNode& node)
{
    node.id = ProfileNumber(element, L"id") + Command::Base;
    node.name = element.GetAttribute(L"name");
    node.type = element.GetAttribute(L"type");
    node.font = element.GetAttribute(L"font");
    node.functionId = ProfileNumber(element, L"function_id") + Command::Base;
    const std::wstring enabled = element.GetAttribute(L"enabled");
    const std::wstring checked = element.GetAttribute(L"checked");
    // Deliberate: only "1" enables, while anything but "0" checks; empty counts as absent for both.
    node.enabled = enabled.empty() || enabled == L"1";
    node.checked = !checked.empty() && checked != L"0";
}

// Moves to the next sibling. False if there is none.
bool MoveOn(ElementLevel& level)
{
    level.element = level.list->NextChild();
    if (level.element == nullptr)
    {
        return false;
    }
    level.node->next = std::make_unique<MenuNode>();
    level.node = level.node->next.get();
    level.isRead = false;
    return true;
}

} // namespace

bool CProfileParser::ParseMenus()
{
    if (m_pCurrentElement == nullptr)
    {
        LOG_ERROR << L"m_pCurrentElement is invalid...";
        return false;
    }
    m_pMenuRoot = std::make_unique<MenuNode>();
    return ParseMenuItems(m_pCurrentElement, m_pMenuRoot.get());
}

bool CProfileParser::ParseMenuItems(XmlElement* element, MenuNode* node)
{
    if (element == nullptr)
    {
        LOG_ERROR << L"pCurrentElement is not available...";
        return false;
    }
    XmlElement* const first = element->FirstChild();
    if (first == nullptr)
    {
        return false;
    }
    std::vector<ElementLevel> levels{{element, first, node}};
    while (!levels.empty())
    {
        ElementLevel& level = levels.back();
        if (!level.isRead)
        {
            level.isRead = true;
            Read(*level.element, *level.node);
            LOG_INFO << L"Child size:" << level.element->ChildCount();
            if (XmlElement* const child = level.element->FirstChild())
            {
                level.node->child = std::make_unique<MenuNode>();
                levels.push_back({level.element, child, level.node->child.get()});
                continue;
            }
        }
        // Behind the lines of its subtree.
        LOG_INFO << L"Id: " << level.node->id << L" Name: " << level.node->name;
        if (!MoveOn(level))
        {
            levels.pop_back();
        }
    }
    return true;
}

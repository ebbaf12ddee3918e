#pragma once

#include <windows.h>

#include <memory>
#include <string>

// One entry of the tray's menu as the profile describes it. A node owns its first child and its next
// sibling. Freeing a tree costs no stack, however long or deep it is.
struct MenuNode
{
    MenuNode() = default;
    ~MenuNode();

    MenuNode(const MenuNode&) = delete;
    MenuNode& operator=(const MenuNode&) = delete;

    UINT id = 0; // command id
    std::wstring name;
    std::wstring type;
    std::wstring font;
    bool enabled = true;
    bool checked = false;
    std::wstring text;   // in the user's language
    UINT functionId = 0; // command id of the handler
    std::unique_ptr<MenuNode> child;
    std::unique_ptr<MenuNode> next;
};

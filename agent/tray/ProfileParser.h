#pragma once

#include <windows.h>

#include <memory>
#include <string>

// One entry of the tray's menu as the profile describes it. A node owns its first child and its next
// sibling.
struct MenuNode
{
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

// What the profile of the user interface holds. Filled by LoadConfig on the main thread before anyone
// reads it, and constant from then on.
class CProfileParser
{
public:
    [[nodiscard]] static CProfileParser& Instance();

    std::unique_ptr<MenuNode> m_pMenuRoot; // first node of the top-level list
};

// Reads the profile and the texts of the user's language. False fails the creation of the main frame.
[[nodiscard]] bool LoadConfig();

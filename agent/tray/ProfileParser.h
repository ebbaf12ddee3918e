#pragma once

#include "MenuNode.h"

#include <windows.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace VzCommon::Storage
{
class XmlElement;
}

struct TooltipEntry
{
    UINT id = 0; // the key again
    std::wstring name;
    std::wstring string; // in the user's language
};

using MsgBoxEntry = TooltipEntry;

struct IconEntry
{
    UINT id = 0; // the key again
    std::wstring name;
    std::wstring path;
    UINT count = 0; // Deliberate: the number of files plus the icons' first id.
};

// What the profile of the user interface holds. Filled by LoadConfig on the main thread before anyone
// reads it, and constant from then on.
class CProfileParser
{
public:
    CProfileParser();

    CProfileParser(const CProfileParser&) = delete;
    CProfileParser& operator=(const CProfileParser&) = delete;

    [[nodiscard]] static CProfileParser& Instance();

    // Reads the file; the XML library comes from the root folder. False, and logged, if the file is missing
    // or malformed. A section that fails ends the reading without a failure: what was read stays, and the
    // sections behind it are not read.
    [[nodiscard]] bool ParseXmlFile(const std::wstring& rootFolder, const std::wstring& file);

    // These read the section in hand. False, and logged, if there is none, or for menus without an item.
    [[nodiscard]] bool ParseMenus();
    [[nodiscard]] bool ParseTooltips();
    [[nodiscard]] bool ParseMsgBoxes();
    [[nodiscard]] bool ParseIcons();

    // Reads the children of the element into the node, its siblings and its subtree. Depth costs no stack.
    [[nodiscard]] bool ParseMenuItems(VzCommon::Storage::XmlElement* element, MenuNode* node);

    using SectionParser = bool (CProfileParser::*)();

    VzCommon::Storage::XmlElement* m_pCurrentElement = nullptr; // Weak. The section in hand while parsing.
    std::map<std::wstring, SectionParser> m_mapElementParsers;
    std::unique_ptr<MenuNode> m_pMenuRoot; // first node of the top-level list
    std::map<UINT, TooltipEntry> m_mapTooltips;
    std::map<UINT, MsgBoxEntry> m_mapMsgBoxes;
    std::map<UINT, IconEntry> m_mapIcons;

private:
    template <typename Entry>
    bool ParseEntries(std::wstring_view elementName, UINT base, std::map<UINT, Entry>& entries);
};

// Reads the profile and the texts of the user's language. False fails the creation of the main frame.
[[nodiscard]] bool LoadConfig();

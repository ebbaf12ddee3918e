#include "ProfileParser.h"

#include "AgentIds.h"
#include "ProfileNumber.h"
#include "VzComn_FileBase.h"
#include "VzComn_LogFront.h"
#include "VzComn_XmlException.h"
#include "VzComn_XmlParser.h"

#include <new>

using VzCommon::Storage::XmlElement;

namespace
{

void Read(const XmlElement& element, TooltipEntry& entry)
{
    entry.string = element.GetAttribute(L"string");
}

void Read(const XmlElement& element, IconEntry& entry)
{
    entry.path = element.GetAttribute(L"path");
    entry.count = ProfileNumber(element, L"count") + ProfileBase::Icon;
}

bool ReadDocument(const std::wstring& rootFolder, const std::wstring& file, XmlElement& root)
{
    try
    {
        VzCommon::Storage::XmlParser parser;
        parser.SetProperty(L"PathOfDll", rootFolder);
        parser.Parse(file, L"/");
        parser.GetElement(L"", root);
        parser.Close();
        return true;
    }
    catch (VzCommon::Storage::Exception* caught)
    {
        const std::unique_ptr<VzCommon::Storage::Exception> exception(caught);
        LOG_ERROR << L"Excpetion when reading XML file: " << exception->code;
        return false;
    }
    catch (const std::bad_alloc&)
    {
        LOG_ERROR << L"Excpetion when reading XML file: " << ERROR_OUTOFMEMORY;
        return false;
    }
}

} // namespace

CProfileParser::CProfileParser()
    : m_mapElementParsers{{L"Menus", &CProfileParser::ParseMenus},
                          {L"Tooltips", &CProfileParser::ParseTooltips},
                          {L"MsgBoxes", &CProfileParser::ParseMsgBoxes},
                          {L"Icons", &CProfileParser::ParseIcons}}
{
}

CProfileParser& CProfileParser::Instance()
{
    static CProfileParser parser;
    return parser;
}

bool CProfileParser::ParseXmlFile(const std::wstring& rootFolder, const std::wstring& file)
{
    FUNCTION_TRACE(L"CProfileParser::ParseXmlFile");
    if (!VzCommon::Storage::FileBase::Exists(file))
    {
        LOG_ERROR << L"UiDeskTrayProfile.xml file does not exist. Path: " << file;
        return false;
    }
    XmlElement root;
    if (!ReadDocument(rootFolder, file, root))
    {
        return false;
    }
    m_pCurrentElement = root.FirstChild();
    while (m_pCurrentElement != nullptr)
    {
        const auto found = m_mapElementParsers.find(m_pCurrentElement->GetName());
        if (found != m_mapElementParsers.end() && !(this->*found->second)())
        {
            LOG_ERROR << L"Parse element from Shortcut.xml failed...";
            break;
        }
        m_pCurrentElement = root.NextChild();
    }
    m_pCurrentElement = nullptr; // the tree ends here
    return true;
}

bool CProfileParser::ParseTooltips()
{
    return ParseEntries(L"Tooltip", ProfileBase::Tooltip, m_mapTooltips);
}

bool CProfileParser::ParseMsgBoxes()
{
    return ParseEntries(L"MsgBox", ProfileBase::MsgBox, m_mapMsgBoxes);
}

bool CProfileParser::ParseIcons()
{
    return ParseEntries(L"Icon", ProfileBase::Icon, m_mapIcons);
}

// Of two entries of one id the first stands.
template <typename Entry>
bool CProfileParser::ParseEntries(std::wstring_view elementName, UINT base, std::map<UINT, Entry>& entries)
{
    if (m_pCurrentElement == nullptr)
    {
        LOG_ERROR << L"m_pCurrentElement is invalid...";
        return false;
    }
    for (const XmlElement* element = m_pCurrentElement->FirstChildNamed(elementName); element != nullptr;
         element = m_pCurrentElement->NextChildNamed(elementName))
    {
        Entry entry;
        entry.id = ProfileNumber(*element, L"id") + base;
        entry.name = element->GetAttribute(L"name");
        Read(*element, entry);
        LOG_INFO << L"Id: " << entry.id << L"Name: " << entry.name;
        entries.try_emplace(entry.id, entry);
    }
    return true;
}

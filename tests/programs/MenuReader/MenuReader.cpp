#include "MenuReader.h"

#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>

#include "Record.h"

namespace
{
// The items of a menu and, behind each that has one, those of its submenu, one deeper. Places are only known
// of the menu that the window shows.
class Reader
{
public:
    explicit Reader(HWND window) : m_window(window) {}

    void Read(HMENU menu, std::uint32_t depth)
    {
        const int count = GetMenuItemCount(menu);
        for (int position = 0; position < count; ++position)
        {
            ReadItem(menu, static_cast<UINT>(position), depth);
        }
    }

    [[nodiscard]] const std::string& Text() const { return m_text; }

private:
    void ReadItem(HMENU menu, UINT position, std::uint32_t depth)
    {
        m_itemText[0] = L'\0';
        MENUITEMINFOW item = {};
        item.cbSize = sizeof(item);
        item.fMask = MIIM_FTYPE | MIIM_ID | MIIM_STATE | MIIM_STRING | MIIM_SUBMENU;
        item.dwTypeData = m_itemText;
        item.cch = static_cast<UINT>(std::size(m_itemText));
        GetMenuItemInfoW(menu, position, TRUE, &item);
        Record record;
        record.Set("depth", depth)
            .Set("id", item.hSubMenu == nullptr ? item.wID : 0) // of a submenu it is but its handle
            .Set("text", m_itemText)
            .Set("separator", (item.fType & MFT_SEPARATOR) != 0 ? 1 : 0)
            .Set("checked", (item.fState & MFS_CHECKED) != 0 ? 1 : 0)
            .Set("greyed", (item.fState & MFS_GRAYED) != 0 ? 1 : 0)
            .Set("default", (item.fState & MFS_DEFAULT) != 0 ? 1 : 0)
            .Set("selected", (item.fState & MFS_HILITE) != 0 ? 1 : 0)
            .Set("submenu", item.hSubMenu != nullptr ? 1 : 0);
        if (depth == 0)
        {
            SetPlace(menu, position, record);
        }
        m_text += record.ToLine() + "\n";
        if (item.hSubMenu != nullptr)
        {
            Read(item.hSubMenu, depth + 1);
        }
    }

    void SetPlace(HMENU menu, UINT position, Record& record) const
    {
        RECT rect = {};
        GetMenuItemRect(m_window, menu, position, &rect);
        record.Set("x", static_cast<std::uint64_t>((rect.left + rect.right) / 2));
        record.Set("y", static_cast<std::uint64_t>((rect.top + rect.bottom) / 2));
    }

    HWND m_window;
    wchar_t m_itemText[20000] = {}; // not on the stack, which a deep menu needs
    std::string m_text;
};

void Answer(MenuReading& reading)
{
    const auto reader = std::make_unique<Reader>(reinterpret_cast<HWND>(reading.window));
    reader->Read(reinterpret_cast<HMENU>(reading.menu), 0);
    const std::string& text = reader->Text();
    if (text.size() <= menuReadingSize - offsetof(MenuReading, text))
    {
        std::memcpy(reading.text, text.data(), text.size());
        reading.size = static_cast<std::uint32_t>(text.size());
    }
}

void ReadForProbe()
{
    HANDLE section = OpenFileMappingW(FILE_MAP_WRITE, FALSE, MenuReadingName(GetCurrentProcessId()).c_str());
    void* const view = section != nullptr ? MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, 0) : nullptr;
    if (view != nullptr)
    {
        Answer(*static_cast<MenuReading*>(view));
        UnmapViewOfFile(view);
    }
    CloseHandle(section);
}
} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH)
    {
        ReadForProbe();
    }
    return FALSE; // the process lets go of it at once
}

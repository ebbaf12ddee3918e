// The agent's tray beside a program that has nothing but one: from the start of the process to the icon, and
// from a click to a menu of a hundred items on the screen. Rounds are interleaved; the median counts.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "HostService.h"
#include "PlayedTaskbar.h"
#include "Stopwatch.h"

namespace
{

constexpr int starts = 30;
constexpr int menus = 60;
constexpr int items = 100;
constexpr DWORD limit = 30000; // milliseconds

namespace fs = std::filesystem;

// A program whose icon stands.
struct Shown
{
    VzCommon::KernelHandle process;
    PlayedTaskbar::Icon icon;
    double milliseconds = 0; // from its start
};

Shown Start(PlayedTaskbar& taskbar, const std::wstring& program)
{
    Shown shown;
    const LARGE_INTEGER begin = Now();
    shown.process = StartProgram(program, L"5");
    shown.icon = taskbar.WaitForIcon(limit);
    shown.milliseconds = Milliseconds(begin, shown.icon.shown);
    return shown;
}

void End(const Shown& shown)
{
    TerminateProcess(shown.process.Get(), 0);
    WaitForSingleObject(shown.process.Get(), limit);
}

HWND VisibleMenu()
{
    const HWND menu = FindWindowW(L"#32768", nullptr);
    return menu != nullptr && IsWindowVisible(menu) ? menu : nullptr;
}

// Milliseconds from the click to the painted menu; negative if none comes.
double OpenMenu(const PlayedTaskbar::Icon& icon)
{
    const LARGE_INTEGER begin = Now();
    PostMessageW(icon.owner, icon.callback, icon.id, WM_RBUTTONUP);
    const ULONGLONG end = GetTickCount64() + limit;
    HWND menu = nullptr;
    while ((menu = VisibleMenu()) == nullptr)
    {
        if (GetTickCount64() > end)
        {
            return -1;
        }
    }
    SendMessageW(menu, WM_NULL, 0, 0); // answered once the menu has been painted
    const double elapsed = Milliseconds(begin, Now());
    PostMessageW(icon.owner, WM_KEYDOWN, VK_ESCAPE, 0);
    while (VisibleMenu() != nullptr)
    {
        Sleep(1);
    }
    SendMessageW(icon.owner, WM_NULL, 0, 0); // and once the program is back in its loop
    return elapsed;
}

// A copy of the product with a hundred entries in its menu.
fs::path InstallWithMenu(const fs::path& stage)
{
    const fs::path root = fs::temp_directory_path() / L"bench_tray";
    fs::remove_all(root);
    fs::copy(stage, root, fs::copy_options::recursive);
    std::ofstream profile(root / L"Configuration/UiDeskTrayProfile.xml", std::ios::binary);
    std::ofstream strings(root / L"Misc/Resource/en-us/UiDeskTrayString.json", std::ios::binary);
    profile << "<Ui><Menus>\n";
    strings << "{\"Menus\": {";
    for (int item = 1; item <= items; ++item)
    {
        profile << "<Item id='" << item << "' name='entry" << item << "' type='string'/>\n";
        strings << (item == 1 ? "" : ", ") << "\"entry" << item << "\": \"Entry number " << item << "\"";
    }
    profile << "</Menus><Tooltips><Tooltip id='1' name='idle'/></Tooltips></Ui>\n";
    strings << "}, \"Tooltips\": {\"idle\": \"x\"}}\n";
    return root;
}

bool MeasureStarts(PlayedTaskbar& taskbar, const std::wstring (&programs)[2])
{
    std::vector<double> times[2];
    for (int round = 0; round < starts; ++round)
    {
        for (std::size_t which = 0; which < std::size(programs); ++which)
        {
            const Shown shown = Start(taskbar, programs[which]);
            End(shown);
            if (shown.icon.owner == nullptr)
            {
                std::printf("%ls shows no icon\n", programs[which].c_str());
                return false;
            }
            times[which].push_back(shown.milliseconds);
        }
    }
    const double peer = Median(times[0]);
    const double agent = Median(times[1]);
    std::printf("start to the icon:  agent %8.2f ms, minimal tray program %8.2f ms, ratio %5.2f\n", agent,
                peer, agent / peer);
    return true;
}

bool MeasureMenus(PlayedTaskbar& taskbar, const std::wstring (&programs)[2])
{
    const Shown shown[] = {Start(taskbar, programs[0]), Start(taskbar, programs[1])};
    std::vector<double> times[2];
    for (int round = 0; round < menus; ++round)
    {
        for (std::size_t which = 0; which < std::size(shown); ++which)
        {
            times[which].push_back(OpenMenu(shown[which].icon));
        }
    }
    for (const Shown& program : shown)
    {
        End(program);
    }
    if (*std::min_element(times[0].begin(), times[0].end()) < 0 ||
        *std::min_element(times[1].begin(), times[1].end()) < 0)
    {
        std::printf("a menu does not open\n");
        return false;
    }
    const double peer = Median(times[0]);
    const double agent = Median(times[1]);
    std::printf("menu of %d items:  agent %8.2f ms, bare TrackPopupMenu   %8.2f ms, ratio %5.2f\n", items,
                agent, peer, agent / peer);
    return true;
}

} // namespace

int main()
{
    const HostService service(QX_STAGE);
    if (!service.IsReady())
    {
        std::printf("the host service does not come up\n");
        return 1;
    }
    const std::wstring peer = OwnFolder() + L"minimal_tray.exe";
    const fs::path root = InstallWithMenu(QX_STAGE);
    PlayedTaskbar taskbar;
    const bool measured = MeasureStarts(taskbar, {peer, QX_STAGE L"/QxSessionAgent_M.exe"}) &&
                          MeasureMenus(taskbar, {peer, root / L"QxSessionAgent_M.exe"});
    fs::remove_all(root);
    return measured ? 0 : 1;
}

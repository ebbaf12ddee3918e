#include "TrayDisplayScene.h"

std::vector<std::wstring> g_files; // asked for as icons
std::set<std::wstring> g_missing;  // of them
std::vector<HICON> g_destroyed;    // icons
bool g_ownIconMissing = false;
int g_defaultTimers = 0; // timer messages that reached the default procedure

HANDLE WINAPI PlayImage(HINSTANCE module, LPCWSTR file, UINT type, int width, int height, UINT flags)
{
    EXPECT_EQ(module, nullptr);
    EXPECT_EQ(type, static_cast<UINT>(IMAGE_ICON));
    EXPECT_EQ(flags, static_cast<UINT>(LR_LOADFROMFILE));
    EXPECT_TRUE(width == 0 && height == 0);
    g_files.emplace_back(file);
    return g_missing.contains(file) ? nullptr : PlayedIcon(static_cast<int>(100 + g_files.size()));
}

BOOL WINAPI NoteDestroyed(HICON icon)
{
    g_destroyed.push_back(icon);
    return TRUE;
}

HICON WINAPI PlayOwnIcon(HINSTANCE /*module*/, LPCWSTR name)
{
    EXPECT_EQ(name, MAKEINTRESOURCEW(128));
    SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return g_ownIconMissing ? nullptr : PlayedIcon(128);
}

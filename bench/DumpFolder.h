#pragma once

#include <windows.h>

#include <shlobj.h>

#include <filesystem>

// Where the agent, and each other program whose name has an _M at the end, writes its dumps. The installer
// makes what is above the last folder.
[[nodiscard]] inline std::filesystem::path MakeDumpFolder()
{
    wchar_t data[MAX_PATH]{};
    SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, data);
    const std::filesystem::path folder = std::filesystem::path(data) / L"Norvane Soft\\Melvio\\dump";
    std::filesystem::create_directories(folder);
    return folder;
}

// The folder is one of the benchmarks' own desktop.
inline void Empty(const std::filesystem::path& folder)
{
    for (const auto& entry : std::filesystem::directory_iterator(folder))
    {
        std::error_code ignored; // a process that has just ended may hold its file for a moment
        std::filesystem::remove(entry.path(), ignored);
    }
}

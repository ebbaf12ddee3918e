#include "CrashTest.h"

#include <algorithm>
#include <filesystem>

#include "util_CrashHandler.h"

namespace fs = std::filesystem;

CrashTest::CrashTest()
{
    fs::create_directories(folder.Path(L"Norvane Soft\\Melvio"));
}

void CrashTest::Init(const std::wstring& eventName)
{
    InitCrashHandler(0, eventName, folder.Path());
}

void CrashTest::PutFile(const std::wstring& name, int age, std::string_view bytes)
{
    const std::wstring path = folder.Write(L"Norvane Soft\\Melvio\\dump\\" + name, bytes);
    // The creation time follows the time of the last change where the system keeps but one.
    fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::seconds(age));
}

std::vector<std::wstring> CrashTest::Files() const
{
    std::vector<std::wstring> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(DumpFolder()))
    {
        names.push_back(entry.path().filename().wstring());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::wstring CrashTest::DumpFolder() const
{
    return folder.Path(L"Norvane Soft\\Melvio\\dump");
}

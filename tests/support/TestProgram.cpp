#include "TestProgram.h"

#include <windows.h>

#include <filesystem>
#include <stdexcept>

namespace TestSupport
{

namespace fs = std::filesystem;

// The build folder mirrors the source tree, so the programs stand below one of this program's own parents.
std::wstring TestProgram(const std::wstring& folder, const std::wstring& file)
{
    wchar_t module[MAX_PATH]{};
    GetModuleFileNameW(nullptr, module, MAX_PATH);
    const fs::path wanted = fs::path(L"programs") / folder / file;
    for (fs::path parent = fs::path(module).parent_path(); parent.has_relative_path();
         parent = parent.parent_path())
    {
        if (fs::exists(parent / wanted))
        {
            return (parent / wanted).make_preferred().wstring();
        }
    }
    throw std::runtime_error("a test program has not been built");
}

} // namespace TestSupport

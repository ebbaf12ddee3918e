#include "TempDir.h"

#include "UniqueName.h"

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace TestSupport
{

namespace fs = std::filesystem;

TempDir::TempDir()
{
    wchar_t folder[MAX_PATH + 1]{};
    const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
    if (length == 0 || length > MAX_PATH)
    {
        throw std::runtime_error("no temporary folder");
    }
    fs::create_directories(folder);
    do // a test that was killed under this process id may have left its own behind
    {
        m_path = folder + UniqueName(L"qxtest");
    } while (!fs::create_directory(m_path));
}

TempDir::~TempDir()
{
    std::error_code ignored;
    fs::remove_all(L"\\\\?\\" + m_path, ignored); // paths of any length
}

std::wstring TempDir::Write(const std::wstring& name, std::string_view bytes) const
{
    const fs::path path(Path(name));
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file)
    {
        throw std::runtime_error("a test file could not be written");
    }
    return path.wstring();
}

std::string TempDir::Read(const std::wstring& name) const
{
    std::ifstream file(fs::path(Path(name)), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace TestSupport

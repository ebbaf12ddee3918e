#include "TempDir.h"

#include "UniqueName.h"

#include <windows.h>

#include <filesystem>
#include <fstream>
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

// All at once: taken one by one, the bytes of a log cost more than it does to write them.
std::string TempDir::Read(const std::wstring& name) const
{
    std::ifstream file(fs::path(Path(name)), std::ios::binary | std::ios::ate);
    if (!file)
    {
        return {};
    }
    std::string bytes(static_cast<std::size_t>(file.tellg()), '\0');
    file.seekg(0);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

// Not what the folder says, which may lag behind a file that is open.
std::size_t TempDir::SizeOf(const std::wstring& name) const
{
    std::ifstream file(fs::path(Path(name)), std::ios::binary | std::ios::ate);
    return file ? static_cast<std::size_t>(file.tellg()) : 0;
}

} // namespace TestSupport

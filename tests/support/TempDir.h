#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace TestSupport
{

// A folder of its own for one test, removed with all that is in it at the end.
class TempDir
{
public:
    TempDir();
    ~TempDir();

    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    // Without a backslash at the end.
    [[nodiscard]] const std::wstring& Path() const { return m_path; }

    [[nodiscard]] std::wstring Path(const std::wstring& name) const { return m_path + L'\\' + name; }

    // Writes the bytes as they are and returns the file's path. The name may hold folders, which are made.
    std::wstring Write(const std::wstring& name, std::string_view bytes) const;

    // The bytes of a file of this folder; empty if there is none.
    [[nodiscard]] std::string Read(const std::wstring& name) const;

    // As Read().size(), for a file that is asked again and again while it grows.
    [[nodiscard]] std::size_t SizeOf(const std::wstring& name) const;

private:
    std::wstring m_path;
};

} // namespace TestSupport

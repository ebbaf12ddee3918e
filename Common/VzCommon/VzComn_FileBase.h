#pragma once

#include "VzComn_Handle.h"

#include <string>

namespace VzCommon::Storage
{

// An open file and its path, for classes that read one. Belongs to one thread. The destructor closes the
// file.
class FileBase
{
public:
    FileBase() = default;
    virtual ~FileBase() = default;

    FileBase(const FileBase&) = delete;
    FileBase& operator=(const FileBase&) = delete;

    // Whether a file or folder of that path is there.
    [[nodiscard]] static bool Exists(const std::wstring& path);

    // The path up to its last "\", which goes too. A path without one stays as it is.
    [[nodiscard]] static std::wstring StripFileName(std::wstring path);

    // What follows the last "\". One at the very end is not taken for it, and stays: "C:\a\b\" gives "b\".
    [[nodiscard]] static std::wstring GetFileName(const std::wstring& path);

    // Left and right with one "\" between them; an empty left part gets none.
    [[nodiscard]] static std::wstring Combine(std::wstring left, const std::wstring& right);

protected:
    KernelHandle handle; // null while there is no file
    std::wstring path;
};

} // namespace VzCommon::Storage

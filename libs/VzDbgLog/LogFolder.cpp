#include "LogFolder.h"

#include <string_view>

namespace VzDbgLog
{

namespace
{

// Lifts the limit of 260 characters off a path.
constexpr wchar_t PathPrefix[] = L"\\\\?\\";

bool IsSeparator(wchar_t unit)
{
    return unit == L'\\' || unit == L'/';
}

std::wstring ExpandVariables(const std::wstring& text)
{
    std::wstring expanded(ExpandEnvironmentStringsW(text.c_str(), nullptr, 0), L'\0');
    const DWORD length =
        ExpandEnvironmentStringsW(text.c_str(), expanded.data(), static_cast<DWORD>(expanded.size()));
    // The length counts the terminator. A variable that grew in between leaves the text unexpanded.
    if (length == 0 || length > expanded.size())
    {
        return text;
    }
    expanded.resize(length - 1);
    return expanded;
}

std::wstring ProgramFolder()
{
    std::wstring file(MAX_PATH, L'\0');
    DWORD length = GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size()));
    while (length == file.size())
    {
        file.resize(file.size() * 2);
        length = GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size()));
    }
    file.resize(length);
    return file.substr(0, file.find_last_of(L'\\'));
}

bool IsAbsolute(std::wstring_view path)
{
    const bool share = path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1]);
    const bool drive = path.size() >= 3 && path[1] == L':' && IsSeparator(path[2]);
    return share || drive;
}

// The configured text as an absolute path. Whatever does not begin with a drive or a share lies below the
// program's folder: the current folder means nothing to a service.
std::wstring Locate(const std::wstring& configured)
{
    std::wstring path = ExpandVariables(configured);
    if (path.empty())
    {
        path = L"Log";
    }
    return IsAbsolute(path) ? path : ProgramFolder() + L"\\" + path;
}

// Resolves "." and "..", and leaves one separator at the end. Empty if the system cannot.
std::wstring Normalize(const std::wstring& path)
{
    const std::wstring open = path + L"\\";
    std::wstring full(GetFullPathNameW(open.c_str(), 0, nullptr, nullptr), L'\0');
    const DWORD length =
        GetFullPathNameW(open.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    full.resize(length < full.size() ? length : 0);
    return full;
}

std::wstring WithoutLengthLimit(const std::wstring& path)
{
    if (path.starts_with(PathPrefix) || path.starts_with(L"\\\\.\\"))
    {
        return path;
    }
    return path.starts_with(L"\\\\") ? std::wstring(PathPrefix) + L"UNC" + path.substr(1) : PathPrefix + path;
}

// With its backslash, without which the name would be the drive itself.
bool IsRoot(const std::wstring& path)
{
    return path.ends_with(L":\\");
}

// Makes the folder and what is missing above it.
DWORD MakePath(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES)
    {
        return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? ERROR_SUCCESS : ERROR_DIRECTORY;
    }
    if (CreateDirectoryW(path.c_str(), nullptr))
    {
        return ERROR_SUCCESS;
    }
    const DWORD error = GetLastError();
    if (error == ERROR_ALREADY_EXISTS)
    {
        return ERROR_SUCCESS;
    }
    const std::size_t end = path.find_last_of(L'\\');
    if (error != ERROR_PATH_NOT_FOUND || end < std::size(PathPrefix))
    {
        return error;
    }
    const DWORD above = MakePath(path.substr(0, end));
    if (above != ERROR_SUCCESS)
    {
        return above;
    }
    return CreateDirectoryW(path.c_str(), nullptr) || GetLastError() == ERROR_ALREADY_EXISTS ? ERROR_SUCCESS
                                                                                             : GetLastError();
}

} // namespace

DWORD LogFolder::Open(const std::wstring& configured)
{
    path = WithoutLengthLimit(Normalize(Locate(configured)));
    // A link with a backslash behind it would be taken for its target.
    const std::wstring itself = IsRoot(path) ? path : path.substr(0, path.size() - 1);
    const DWORD error = MakePath(itself);
    if (error != ERROR_SUCCESS)
    {
        return error;
    }
    // Writing is shared: the system opens the folder for writing itself when a file in it is renamed.
    held = FileHandle(CreateFileW(itself.c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  nullptr, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!held)
    {
        return GetLastError();
    }
    const DWORD attributes = GetFileAttributesW(itself.c_str());
    const bool link = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0; // of an invalid value too
    return link ? ERROR_CANT_ACCESS_FILE : ERROR_SUCCESS;
}

} // namespace VzDbgLog

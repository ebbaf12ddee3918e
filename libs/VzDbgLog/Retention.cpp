#include "Retention.h"

#include "FileNames.h"
#include "Handles.h"
#include "Limits.h"
#include "LogFolder.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace VzDbgLog
{

namespace
{

struct OldFile
{
    std::wstring name;
    FILETIME written;
};

struct CloseFind
{
    void operator()(HANDLE find) const { FindClose(find); }
};

bool IsNewer(const OldFile& left, const OldFile& right)
{
    const LONG order = CompareFileTime(&left.written, &right.written);
    return order != 0 ? order > 0 : left.name > right.name;
}

std::vector<OldFile> ListFamily(const LogFolder& folder, const FileNames& names)
{
    std::vector<OldFile> files;
    WIN32_FIND_DATAW entry{};
    const HANDLE first = FindFirstFileW(folder.PathOf(names.FamilyPattern()).c_str(), &entry);
    if (first == INVALID_HANDLE_VALUE)
    {
        return files;
    }
    const std::unique_ptr<void, CloseFind> find(first);
    do
    {
        const DWORD foreign = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
        if ((entry.dwFileAttributes & foreign) == 0 && names.IsFamily(entry.cFileName))
        {
            files.push_back({entry.cFileName, entry.ftLastWriteTime});
        }
    } while (FindNextFileW(find.get(), &entry));
    return files;
}

// A writer does not share its file for deleting, so getting this handle proves that nobody writes.
FileHandle OpenForDeleting(const std::wstring& path)
{
    FileHandle file(CreateFileW(path.c_str(), DELETE | FILE_READ_ATTRIBUTES,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    BY_HANDLE_FILE_INFORMATION found{};
    if (file && (!GetFileInformationByHandle(file.Get(), &found) ||
                 (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0))
    {
        file.Close();
    }
    return file;
}

} // namespace

void DeleteOldFiles(const LogFolder& folder, const FileNames& names)
{
    std::vector<OldFile> files = ListFamily(folder, names);
    if (files.size() <= MaxClosedFiles)
    {
        return;
    }
    std::sort(files.begin(), files.end(), IsNewer);
    unsigned closed = 0;
    for (const OldFile& old : files)
    {
        const FileHandle file = OpenForDeleting(folder.PathOf(old.name));
        if (file && ++closed > MaxClosedFiles)
        {
            FILE_DISPOSITION_INFO disposition{TRUE};
            SetFileInformationByHandle(file.Get(), FileDispositionInfo, &disposition, sizeof(disposition));
        }
    }
}

} // namespace VzDbgLog

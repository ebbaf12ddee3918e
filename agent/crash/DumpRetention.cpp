#include "DumpRetention.h"

#include <windows.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <memory>
#include <string>

#include "CrashState.h"
#include "QxCommon_utility.h"
#include "VzComn_Handle.h"
#include "VzComn_LogFront.h"
#include "VzComn_RegistryValue.h"

namespace
{
constexpr std::uint32_t defaultLimit = 3;
constexpr std::uint32_t keepAll = 0;

struct DumpListEntry
{
    wchar_t name[MAX_PATH];
    FILETIME created;
};

struct DumpList
{
    std::array<DumpListEntry, 50> rows{};
    std::size_t count = 0;
};

std::uint32_t ReadLimit()
{
    using namespace VzCommon::Storage;
    const std::uint32_t view = QxCommon::IsX64System() ? RegistryView::Bits64 : RegistryView::Default;
    std::uint32_t error = ERROR_SUCCESS;
    const std::uint32_t limit =
        ReadRegistryDword(QxCommon::GetProductRegistryKey(), L"DumpNumberLimit", &defaultLimit, view, &error);
    return error == ERROR_SUCCESS ? limit : defaultLimit;
}

// Whether the folder, or one of the two above it that are the product's own, is a link: what lies at its
// other end belongs to somebody else.
bool LeadsElsewhere(std::wstring folder)
{
    constexpr int ownFolders = 3;
    for (int i = 0; i < ownFolders; ++i)
    {
        const DWORD attributes = GetFileAttributesW(folder.c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
        {
            return true;
        }
        folder.resize(folder.find_last_of(L'\\'));
    }
    return false;
}

void Delete(const wchar_t* name)
{
    DeleteFileW((s_dumpFolder + L'\\' + name).c_str());
}

// A folder has no size, and takes its row.
bool IsEmptyFile(const WIN32_FIND_DATAW& found)
{
    return (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 && found.nFileSizeHigh == 0 &&
           found.nFileSizeLow == 0;
}

void Store(DumpList& list, const WIN32_FIND_DATAW& found)
{
    DumpListEntry& row = list.rows[list.count++];
    wcsncpy_s(row.name, std::size(row.name), found.cFileName, _TRUNCATE);
    row.created = found.ftCreationTime;
}

// Fills the list, and deletes empty files on the way. False if the folder cannot be searched.
bool ListDumps(DumpList& list)
{
    WIN32_FIND_DATAW found{};
    const VzCommon::FindHandle search(FindFirstFileW((s_dumpFolder + L"\\*.*").c_str(), &found));
    if (!search)
    {
        return false;
    }
    do
    {
        if (found.cFileName[0] == L'.')
        {
            continue;
        }
        if (IsEmptyFile(found))
        {
            Delete(found.cFileName);
        }
        else
        {
            Store(list, found);
        }
    } while (list.count < list.rows.size() && FindNextFileW(search.Get(), &found));
    return true;
}

int Compare(DWORD left, DWORD right)
{
    if (left == right)
    {
        return 0;
    }
    return left > right ? -1 : 1;
}

int __cdecl NewestFirst(void* /*context*/, const void* left, const void* right)
{
    const FILETIME& first = static_cast<const DumpListEntry*>(left)->created;
    const FILETIME& second = static_cast<const DumpListEntry*>(right)->created;
    const int high = Compare(first.dwHighDateTime, second.dwHighDateTime);
    return high != 0 ? high : Compare(first.dwLowDateTime, second.dwLowDateTime);
}
} // namespace

void SweepDumpFolder()
{
    const std::uint32_t limit = ReadLimit();
    if (limit == keepAll)
    {
        return;
    }
    if (LeadsElsewhere(s_dumpFolder))
    {
        LOG_WARN << L"The dump folder leads elsewhere, nothing is deleted: " << s_dumpFolder;
        return;
    }
    const auto list = std::make_unique<DumpList>();
    if (!ListDumps(*list))
    {
        return;
    }
    qsort_s(list->rows.data(), list->count, sizeof(DumpListEntry), &NewestFirst, nullptr);
    for (std::size_t i = limit; i < list->count; ++i)
    {
        Delete(list->rows[i].name);
    }
}

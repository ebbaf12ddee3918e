#include "DbghelpTable.h"

#include "LibraryTable.h"

DbghelpTable* s_pDbghelpTable = nullptr;
constinit std::atomic<bool> s_bDbghelpLoaded{false};

namespace
{
bool s_bDbghelpLoadedHere = false;

constexpr LibraryTable<DbghelpTable> s_dbghelpPlace{s_pDbghelpTable, s_bDbghelpLoaded, s_bDbghelpLoadedHere};
} // namespace

bool LoadDbghelpTable()
{
    return LoadTable(s_dbghelpPlace);
}

void ReleaseDbghelpTable()
{
    ReleaseTable(s_dbghelpPlace);
}

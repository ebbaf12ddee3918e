#include "DbghelpTable.h"

#include "LibraryTable.h"

DbghelpTable* s_pDbghelpTable = nullptr;
constinit std::atomic<bool> s_bDbghelpLoaded{false};

namespace
{
bool s_bDbghelpLoadedHere = false;

constexpr LibraryTable<DbghelpTable> s_place{s_pDbghelpTable, s_bDbghelpLoaded, s_bDbghelpLoadedHere};
} // namespace

bool LoadDbghelpTable()
{
    return LoadTable(s_place);
}

void ReleaseDbghelpTable()
{
    ReleaseTable(s_place);
}

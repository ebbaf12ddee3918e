#include "PsapiTable.h"

#include "LibraryTable.h"

PsapiTable* s_pPsapiTable = nullptr;
constinit std::atomic<bool> s_bPsapiLoaded{false};

namespace
{
bool s_bPsapiLoadedHere = false;

constexpr LibraryTable<PsapiTable> s_psapiPlace{s_pPsapiTable, s_bPsapiLoaded, s_bPsapiLoadedHere};
} // namespace

bool LoadPsapiTable()
{
    return LoadTable(s_psapiPlace);
}

void ReleasePsapiTable()
{
    ReleaseTable(s_psapiPlace);
}

#include "ModuleTimestamp.h"

#include "DbghelpTable.h"

DWORD GetModuleTimestamp(HMODULE module)
{
    const DbghelpTable* const table = s_pDbghelpTable;
    return table != nullptr ? table->TimestampReader()(module) : 0;
}

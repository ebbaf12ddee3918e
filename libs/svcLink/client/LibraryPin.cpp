#include "LibraryPin.h"

#include <windows.h>

namespace SvcLink
{

void PinLibrary()
{
    // Any address in the library finds it.
    static const char inside = 0;
    HMODULE self = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<const wchar_t*>(&inside), &self);
}

} // namespace SvcLink

// A library that refuses to be loaded.
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE /*instance*/, DWORD reason, void* /*reserved*/)
{
    return reason != DLL_PROCESS_ATTACH;
}

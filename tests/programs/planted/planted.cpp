#include <windows.h>

// A library with no exports. Under another library's name it stands for one that somebody planted, or for one
// that lacks what is asked of it.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID)
{
    return TRUE;
}

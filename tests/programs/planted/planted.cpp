#include <string>

#include <windows.h>

// A library with no exports. Under another library's name it stands for one that somebody planted, or for one
// that lacks what is asked of it. Whoever loads it leaves a file beside it, with ".loaded" at the end.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH)
    {
        std::wstring path(32768, L'\0');
        path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
        CloseHandle(CreateFileW((path + L".loaded").c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    }
    return TRUE;
}

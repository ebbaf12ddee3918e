#pragma once

#include <windows.h>

#include "ImportPatch.h"

// The version that the system tells the program, for the length of a scope. One at a time.
class FakeVersion
{
public:
    FakeVersion(DWORD major, DWORD minor)
    {
        s_major = major;
        s_minor = minor;
        s_isRefused = false;
        s_size = 0;
    }

    void Refuse() { s_isRefused = true; }

    // Of the record that was given last.
    [[nodiscard]] DWORD Size() const { return s_size; }

private:
    static BOOL WINAPI Tell(OSVERSIONINFOW* version)
    {
        s_size = version->dwOSVersionInfoSize;
        if (s_isRefused)
        {
            return FALSE;
        }
        version->dwMajorVersion = s_major;
        version->dwMinorVersion = s_minor;
        version->dwPlatformId = VER_PLATFORM_WIN32_NT;
        return TRUE;
    }

    static inline DWORD s_major = 0;
    static inline DWORD s_minor = 0;
    static inline DWORD s_size = 0;
    static inline bool s_isRefused = false;

    TestSupport::ImportPatch m_patch{nullptr, "GetVersionExW", &Tell};
};

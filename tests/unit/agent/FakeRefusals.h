#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <winsvc.h>

#include <string>

// Stand-ins for the system's functions that refuse what the agent's user may not do.

inline SC_HANDLE WINAPI DeniedService(SC_HANDLE /*manager*/, const wchar_t* name, DWORD /*access*/)
{
    EXPECT_STREQ(name, L"Melvio Host Service");
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

inline SC_HANDLE WINAPI DeniedManager(const wchar_t* /*machine*/, const wchar_t* /*database*/,
                                      DWORD /*access*/)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

inline HANDLE WINAPI DeniedEvent(DWORD access, BOOL /*inherit*/, const wchar_t* /*name*/)
{
    // The test for the event may look, the request may not be made.
    if (access == 1)
    {
        return CreateEventA(nullptr, FALSE, FALSE, nullptr);
    }
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

inline HANDLE WINAPI ForbiddenEvent(DWORD /*access*/, BOOL /*inherit*/, const wchar_t* name)
{
    ADD_FAILURE() << "an event is opened: " << ::testing::PrintToString(std::wstring(name));
    SetLastError(ERROR_FILE_NOT_FOUND);
    return nullptr;
}

inline SC_HANDLE WINAPI ForbiddenManager(const wchar_t* /*machine*/, const wchar_t* /*database*/,
                                         DWORD /*access*/)
{
    ADD_FAILURE() << "the service manager is asked";
    return nullptr;
}

inline BOOL WINAPI DeniedStart(SC_HANDLE /*service*/, DWORD /*count*/, const wchar_t** /*arguments*/)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

#include "FakeServiceManager.h"

namespace
{
DWORD g_serviceState = 0;
DWORD g_openError = 0;

SC_HANDLE AnyHandle()
{
    return reinterpret_cast<SC_HANDLE>(&g_serviceState);
}

SC_HANDLE WINAPI FakeOpenManager(LPCWSTR /*machine*/, LPCWSTR /*database*/, DWORD /*access*/)
{
    return AnyHandle();
}

SC_HANDLE WINAPI FakeOpenService(SC_HANDLE /*manager*/, LPCWSTR /*name*/, DWORD /*access*/)
{
    SetLastError(g_serviceState == 0 ? g_openError : 0);
    return g_serviceState == 0 ? nullptr : AnyHandle();
}

BOOL WINAPI FakeQuery(SC_HANDLE /*service*/, LPSERVICE_STATUS status)
{
    *status = {};
    status->dwCurrentState = g_serviceState;
    return TRUE;
}

BOOL WINAPI FakeClose(SC_HANDLE /*handle*/)
{
    return TRUE;
}
} // namespace

FakeServiceManager::FakeServiceManager(DWORD state, DWORD openError)
    : m_manager(nullptr, "OpenSCManagerW", &FakeOpenManager),
      m_open(nullptr, "OpenServiceW", &FakeOpenService), m_query(nullptr, "QueryServiceStatus", &FakeQuery),
      m_close(nullptr, "CloseServiceHandle", &FakeClose)
{
    g_serviceState = state;
    g_openError = openError;
}

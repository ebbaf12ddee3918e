#pragma once

#include <windows.h>

#include "ImportPatch.h"

// Plays the service control manager for the length of a scope: one service in one state, or none.
class FakeServiceManager
{
public:
    // A state of SERVICE_*, or 0 and why the service cannot be opened.
    explicit FakeServiceManager(DWORD state, DWORD openError = ERROR_SERVICE_DOES_NOT_EXIST);

private:
    TestSupport::ImportPatch m_manager;
    TestSupport::ImportPatch m_open;
    TestSupport::ImportPatch m_query;
    TestSupport::ImportPatch m_close;
};

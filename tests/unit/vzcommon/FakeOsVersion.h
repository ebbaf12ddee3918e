#pragma once

#include "ImportPatch.h"

#include <windows.h>

#include <vector>

namespace TestSupport
{

// Lets the version query of this test program answer with another system, or fail. The product keeps the
// first good answer for the life of the process, so a test case sets it up once and before anything else.
class FakeOsVersion
{
public:
    struct System
    {
        DWORD platform;
        DWORD major;
        DWORD minor;
        WORD servicePack;
        BYTE productType;
    };

    explicit FakeOsVersion(const System& system) : FakeOsVersion() { s_system = system; }

    // Fails with this error; the first `good` queries succeed.
    explicit FakeOsVersion(DWORD error, size_t good = 0) : FakeOsVersion()
    {
        s_error = error;
        s_good = good;
    }

    // From now on the queries succeed.
    static void Heal(const System& system)
    {
        s_error = 0;
        s_system = system;
    }

    // The structure sizes that were asked for, in their order.
    static const std::vector<DWORD>& Queries() { return s_queries; }

private:
    FakeOsVersion() : m_patch(nullptr, "GetVersionExW", &Answer)
    {
        s_queries.clear();
        s_error = 0;
    }

    static BOOL WINAPI Answer(OSVERSIONINFOW* info)
    {
        s_queries.push_back(info->dwOSVersionInfoSize);
        if (s_error != 0 && s_queries.size() > s_good)
        {
            SetLastError(s_error);
            return FALSE;
        }
        info->dwPlatformId = s_system.platform;
        info->dwMajorVersion = s_system.major;
        info->dwMinorVersion = s_system.minor;
        if (info->dwOSVersionInfoSize == sizeof(OSVERSIONINFOEXW))
        {
            auto* extended = reinterpret_cast<OSVERSIONINFOEXW*>(info);
            extended->wServicePackMajor = s_system.servicePack;
            extended->wProductType = s_system.productType;
        }
        return TRUE;
    }

    static inline System s_system{};
    static inline DWORD s_error = 0;
    static inline size_t s_good = 0;
    static inline std::vector<DWORD> s_queries;

    ImportPatch m_patch;
};

} // namespace TestSupport

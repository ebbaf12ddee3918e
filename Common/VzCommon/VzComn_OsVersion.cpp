#include "VzComn_OsVersion.h"

#include "VzComn_Library.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <iterator>
#include <tuple>

namespace VzCommon
{

namespace
{

constexpr DWORD workstation = VER_NT_WORKSTATION;
constexpr DWORD server = VER_NT_SERVER;

// Deliberate: filled without a lock. Whoever fills them writes the same values.
OSVERSIONINFOW s_version{};
OSVERSIONINFOEXW s_versionEx{};
std::atomic<bool> s_versionKnown{false};

bool IsNt()
{
    return s_version.dwPlatformId == VER_PLATFORM_WIN32_NT;
}

bool IsWindows9x()
{
    return s_version.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS;
}

bool Is(DWORD major, DWORD minor)
{
    return s_version.dwMajorVersion == major && s_version.dwMinorVersion == minor;
}

bool IsProduct(DWORD type)
{
    return s_versionEx.wProductType == type;
}

// Compares as a whole: 6.2 without a service pack is above 6.0 with one.
bool IsNtAtLeast(DWORD major, DWORD minor = 0, DWORD servicePack = 0)
{
    return IsNt() && std::make_tuple(s_version.dwMajorVersion, s_version.dwMinorVersion,
                                     static_cast<DWORD>(s_versionEx.wServicePackMajor)) >=
                         std::make_tuple(major, minor, servicePack);
}

struct Row
{
    std::uint32_t code;
    bool (*fits)();
};

constexpr Row table[] = {
    {1, [] { return IsWindows9x() && Is(4, 90); }},
    {2, [] { return IsWindows9x(); }},
    {3, [] { return IsNt() && Is(5, 0); }},
    {4, [] { return Is(5, 2) && IsProduct(server); }},
    {5, [] { return Is(5, 1) && IsProduct(workstation); }},
    {6, [] { return Is(5, 2) && IsProduct(workstation); }},
    {7, [] { return (Is(5, 1) || Is(5, 2)) && IsProduct(workstation); }},
    {8, [] { return Is(6, 0) && !IsNative64(); }},
    {9, [] { return Is(6, 0) && IsNative64(); }},
    {10, [] { return Is(6, 0); }},
    {11, [] { return Is(6, 1) && !IsNative64(); }},
    {12, [] { return Is(6, 1) && IsNative64(); }},
    {13, [] { return Is(6, 1); }},
    {14, [] { return Is(6, 2) && !IsNative64(); }},
    {15, [] { return Is(6, 2) && IsNative64(); }},
    {16, [] { return Is(6, 2); }},
    {17, [] { return Is(6, 3) && !IsNative64(); }},
    {18, [] { return Is(6, 3) && IsNative64(); }},
    {19, [] { return Is(6, 3); }},
    {20, [] { return Is(10, 0) && !IsNative64(); }},
    {21, [] { return Is(10, 0) && IsNative64(); }},
    {22, [] { return Is(10, 0); }},
    {101, [] { return IsNt(); }},
    {102, [] { return IsNtAtLeast(5); }},
    {103, [] { return IsNtAtLeast(5) && !Is(5, 0); }},
    {104, [] { return IsNtAtLeast(5, 1, 2); }},
    {105, [] { return IsNtAtLeast(5, 1, 3); }},
    {106, [] { return IsNtAtLeast(6); }},
    {107, [] { return IsNtAtLeast(6, 0, 1); }},
    {108, [] { return IsNtAtLeast(6, 0, 2); }},
    // Deliberate: false on 10.0, whose minor version is 0.
    {109, [] { return IsNtAtLeast(6) && s_version.dwMinorVersion != 0; }},
    {110, [] { return IsNtAtLeast(6, 1, 1); }},
    {111, [] { return IsNtAtLeast(6, 2); }},
    {112, [] { return IsNtAtLeast(6, 3); }},
    {113, [] { return IsNtAtLeast(10); }},
    {114, [] { return IsNt() && IsProduct(server); }},
};

bool QueryVersion()
{
    if (s_versionKnown.load(std::memory_order_acquire))
    {
        return true;
    }
    s_version.dwOSVersionInfoSize = sizeof(s_version);
    s_versionEx.dwOSVersionInfoSize = sizeof(s_versionEx);
    if (!GetVersionExW(&s_version) || !GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&s_versionEx)))
    {
        s_versionError = GetLastError();
        return false;
    }
    s_versionError = 0;
    s_versionKnown.store(true, std::memory_order_release);
    return true;
}

} // namespace

std::uint32_t s_versionError = 0;

bool IsOsVersion(std::uint32_t code)
{
    if (!QueryVersion())
    {
        return false;
    }
    const auto* row = std::find_if(std::begin(table), std::end(table),
                                   [code](const Row& candidate) { return candidate.code == code; });
    return row != std::end(table) && row->fits();
}

bool IsNative64()
{
    constexpr WORD unknown = 0xFFFF;
    // Deliberate: written without a lock. Whoever writes it writes the same value.
    static WORD s_architecture = unknown;

    if (s_architecture == unknown)
    {
        Library::Base kernel;
        void(WINAPI * getNativeSystemInfo)(SYSTEM_INFO*) = nullptr;
        if (kernel.Load(L"kernel32.dll", nullptr, nullptr) &&
            kernel.Resolve(L"GetNativeSystemInfo", getNativeSystemInfo, nullptr))
        {
            SYSTEM_INFO info{};
            getNativeSystemInfo(&info);
            s_architecture = info.wProcessorArchitecture;
        }
    }
    return s_architecture == PROCESSOR_ARCHITECTURE_AMD64;
}

} // namespace VzCommon

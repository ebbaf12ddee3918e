#pragma once

#include <windows.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace TestSupport
{

// Redirects whole hives of this process to fresh, empty keys, which are removed at the end. Other processes
// keep seeing the true hives.
class TempRegistry
{
public:
    explicit TempRegistry(std::initializer_list<HKEY> hives = {HKEY_LOCAL_MACHINE});
    ~TempRegistry();

    TempRegistry(const TempRegistry&) = delete;
    TempRegistry& operator=(const TempRegistry&) = delete;

    void SetString(HKEY hive, const std::wstring& subkey, const std::wstring& name, const std::wstring& value,
                   DWORD view = 0) const;
    void SetDword(HKEY hive, const std::wstring& subkey, const std::wstring& name, DWORD value,
                  DWORD view = 0) const;

    // The type is one of REG_*; the view 0, KEY_WOW64_32KEY or KEY_WOW64_64KEY.
    void SetValue(HKEY hive, const std::wstring& subkey, const std::wstring& name, DWORD type,
                  const void* data, size_t size, DWORD view = 0) const;

private:
    std::wstring m_path; // below the true HKEY_CURRENT_USER
    std::vector<HKEY> m_hives;
};

} // namespace TestSupport

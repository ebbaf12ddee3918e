#include "TempRegistry.h"

#include "UniqueName.h"

#include <stdexcept>

namespace TestSupport
{

namespace
{

void Check(LSTATUS status, const char* what)
{
    if (status != ERROR_SUCCESS)
    {
        throw std::runtime_error(std::string(what) + " failed: " + std::to_string(status));
    }
}

} // namespace

TempRegistry::TempRegistry(std::initializer_list<HKEY> hives) : m_path(L"Software\\" + UniqueName(L"qxtest"))
{
    RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str()); // left behind under this process id
    std::vector<HKEY> targets;
    for (size_t i = 0; i < hives.size(); ++i)
    {
        HKEY target = nullptr;
        const std::wstring path = m_path + L'\\' + std::to_wstring(i);
        Check(RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                              &target, nullptr),
              "RegCreateKeyExW");
        targets.push_back(target);
    }
    // Only now: one of the hives may be the one that holds the targets.
    for (const HKEY hive : hives)
    {
        Check(RegOverridePredefKey(hive, targets[m_hives.size()]), "RegOverridePredefKey");
        m_hives.push_back(hive);
    }
    for (const HKEY target : targets)
    {
        RegCloseKey(target);
    }
}

TempRegistry::~TempRegistry()
{
    for (const HKEY hive : m_hives)
    {
        RegOverridePredefKey(hive, nullptr);
    }
    RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str());
}

void TempRegistry::SetString(HKEY hive, const std::wstring& subkey, const std::wstring& name,
                             const std::wstring& value, DWORD view) const
{
    SetValue(hive, subkey, name, REG_SZ, value.c_str(), (value.size() + 1) * sizeof(wchar_t), view);
}

void TempRegistry::SetDword(HKEY hive, const std::wstring& subkey, const std::wstring& name, DWORD value,
                            DWORD view) const
{
    SetValue(hive, subkey, name, REG_DWORD, &value, sizeof(value), view);
}

void TempRegistry::SetValue(HKEY hive, const std::wstring& subkey, const std::wstring& name, DWORD type,
                            const void* data, size_t size, DWORD view) const
{
    HKEY key = nullptr;
    Check(RegCreateKeyExW(hive, subkey.c_str(), 0, nullptr, 0, KEY_SET_VALUE | view, nullptr, &key, nullptr),
          "RegCreateKeyExW");
    const LSTATUS status =
        RegSetValueExW(key, name.c_str(), 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size));
    RegCloseKey(key);
    Check(status, "RegSetValueExW");
}

} // namespace TestSupport

#include "QxCommon_utility.h"

#include "FrwkMode.h"
#include "QxLocaleHelper.h"
#include "VzComn_OsVersion.h"
#include "VzComn_Registry.h"
#include "VzComn_RegistryValue.h"

#include <windows.h>

#include <algorithm>
#include <array>

namespace QxCommon
{

std::wstring AppendName(std::wstring folder, std::wstring_view name)
{
    if (!folder.ends_with(L'\\'))
    {
        folder += L'\\';
    }
    return folder.append(name);
}

std::wstring GetModulePath()
{
    std::array<wchar_t, 260> path{};
    GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    // Systems differ in whether a path that was cut is terminated.
    path.back() = L'\0';
    return path.data();
}

std::wstring GetModuleFolder()
{
    std::wstring folder = GetModulePath();
    folder.resize(std::min(folder.size(), folder.rfind(L'\\')));
    return folder;
}

std::wstring GetProductRegistryKey()
{
    return L"SOFTWARE\\NorvaneSoft\\" + GetProductId();
}

std::wstring GetRegistryProductPath()
{
    using namespace VzCommon::Storage;
    const std::uint32_t view = IsX64System() ? RegistryView::Bits64 : RegistryView::Default;
    return ReadRegistryString(HKEY_LOCAL_MACHINE, GetProductRegistryKey(), L"ProductPath", L"", view,
                              nullptr);
}

std::wstring GetProductPath()
{
    std::wstring path = GetRegistryProductPath();
    return path.empty() ? GetModuleFolder() : path;
}

std::wstring GetConfigurationFolder()
{
    return AppendName(GetProductPath(), L"Configuration");
}

std::wstring GetBinariesFolder()
{
    return IsX64System() ? AppendName(GetProductPath(), L"win32") : GetProductPath();
}

bool IsX64System()
{
    return VzCommon::IsNative64();
}

std::wstring GetLocaleName(bool useCache)
{
    std::wstring localeName;
    (void)QxLocaleHelper::GetLocaleName(localeName, AppendName(GetConfigurationFolder(), L"localeInfo.json"),
                                        useCache);
    return localeName.empty() ? L"EN-US" : localeName;
}

std::wstring TrimTrailingLineFeeds(std::wstring text)
{
    text.resize(text.find_last_not_of(L'\n') + 1);
    return text;
}

} // namespace QxCommon

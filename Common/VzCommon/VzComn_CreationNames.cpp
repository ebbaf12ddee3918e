#include "VzComn_CreationNames.h"

#include "VzComn_OsVersion.h"

#include <string_view>

namespace VzCommon
{

namespace
{

std::wstring WithPrefix(std::wstring_view prefix, const std::wstring& name)
{
    if (name.empty())
    {
        return {};
    }
    const bool hasNamespaces = IsOsVersion(OsVersion::Windows2000OrLater);
    if (!hasNamespaces && s_versionError != 0)
    {
        return {};
    }
    // Deliberate: the prefix counts wherever it stands, and the other prefix does not count at all.
    if (!hasNamespaces || name.find(prefix) != std::wstring::npos)
    {
        return name;
    }
    return std::wstring(prefix).append(name);
}

} // namespace

CreationNames::CreationNames(const std::wstring& name)
    : globalName(WithPrefix(L"Global\\", name)), localName(WithPrefix(L"Local\\", name))
{
}

} // namespace VzCommon

#include "FrwkMode.h"

#include "QxCommon_utility.h"
#include "VzComn_LogFront.h"

#include <windows.h>

#include <shlwapi.h>

#include <algorithm>
#include <array>
#include <cwchar>

namespace QxCommon
{
namespace
{
constexpr std::int32_t noProduct = -1;

constexpr std::array<FrwkMode, 4> products = {{
    {0, L"Oravex", L""},
    {1, L"Melvio", L"M"},
    {2, L"Brisketta", L"B"},
    {noProduct, L"EndFlag", L"EndFlag"}, // the mark: a scan stops here and never matches it
}};

// The process's product id, empty until it is first asked for. Written on the main thread, before another
// thread exists.
wchar_t s_wszQxId[260];

// The first row whose given field equals the text without regard to case; null if there is none.
const FrwkMode* FindProduct(const wchar_t* FrwkMode::*field, const std::wstring& text)
{
    for (const FrwkMode* row = products.data(); row->number != noProduct; ++row)
    {
        if (_wcsicmp(row->*field, text.c_str()) == 0)
        {
            return row;
        }
    }
    return nullptr;
}

// What stands behind the last "_" of the executable's name, its extension left out.
std::wstring ModuleSuffix()
{
    std::wstring name = GetModulePath();
    name.erase(0, name.rfind(L'\\') + 1);
    name.resize(std::min(name.size(), name.rfind(L'.')));
    const std::size_t mark = name.rfind(L'_');
    return mark == std::wstring::npos ? std::wstring() : name.substr(mark + 1);
}

} // namespace

std::wstring GetProductId()
{
    if (s_wszQxId[0] != L'\0')
    {
        LOG_DEBUG << L"s_wszQxId = " << s_wszQxId;
        return s_wszQxId;
    }
    if (const FrwkMode* product = FindProduct(&FrwkMode::suffix, ModuleSuffix()))
    {
        wcscpy_s(s_wszQxId, std::size(s_wszQxId), product->productId);
    }
    return s_wszQxId;
}

std::int32_t GetProductNumber()
{
    const FrwkMode* product = FindProduct(&FrwkMode::productId, GetProductId());
    return product != nullptr ? product->number : noProduct;
}

bool IsFrwkModeOne()
{
    return GetProductNumber() == 1;
}

std::wstring MapProductFileName(const std::wstring& name)
{
    const FrwkMode* product = FindProduct(&FrwkMode::productId, GetProductId());
    const std::wstring extension = PathFindExtensionW(name.c_str());
    if (product == nullptr || product->suffix[0] == L'\0' || extension.empty())
    {
        return name;
    }
    // Deliberate: the first occurrence is replaced, wherever it stands: "a.exe.exe" becomes "a_M.exe.exe".
    std::wstring mapped = name;
    mapped.insert(mapped.find(extension), std::wstring(L"_") + product->suffix);
    return mapped;
}

} // namespace QxCommon

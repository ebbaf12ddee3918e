#include "FakeProduct.h"

#include <algorithm>

namespace
{
std::wstring g_modulePath;

DWORD WINAPI FakeGetModuleFileNameW(HMODULE /*module*/, LPWSTR name, DWORD size)
{
    const auto length = static_cast<DWORD>(std::min<size_t>(g_modulePath.size(), size - 1));
    std::copy_n(g_modulePath.begin(), length, name);
    name[length] = L'\0';
    SetLastError(length < g_modulePath.size() ? ERROR_INSUFFICIENT_BUFFER : ERROR_SUCCESS);
    return length;
}
} // namespace

FakeProduct::FakeProduct(const std::wstring& fileName, const std::wstring& folder)
    : m_patch(nullptr, "GetModuleFileNameW", &FakeGetModuleFileNameW)
{
    g_modulePath = folder + L"\\" + fileName;
}

FakeProduct::~FakeProduct() = default;

#include "UniqueName.h"

#include <windows.h>

#include <atomic>

namespace TestSupport
{

std::wstring UniqueName(const std::wstring& prefix)
{
    static std::atomic<unsigned> counter{0};
    return prefix + L'_' + std::to_wstring(GetCurrentProcessId()) + L'_' + std::to_wstring(++counter);
}

} // namespace TestSupport

#pragma once

#include <string>

// What the link's two ends are called for the running product.
namespace SvcLink
{

// The host service, to the service control manager.
[[nodiscard]] std::wstring HostServiceName();

// The pipe that the service owns.
[[nodiscard]] std::wstring EndpointName();

// Values of the product's registry key, which only administrators may write: a host that runs in the
// foreground names its process there, by id and creation time.
inline constexpr wchar_t ConsoleHostValue[] = L"ConsoleHost";         // REG_DWORD
inline constexpr wchar_t ConsoleHostTimeValue[] = L"ConsoleHostTime"; // REG_QWORD, a FILETIME

} // namespace SvcLink

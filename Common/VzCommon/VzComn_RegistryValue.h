#pragma once

#include "VzComn_Registry.h"

namespace VzCommon::Storage
{

// One value of the registry, without an exception: the default when it cannot be had, with the system's code
// in error, which may be null. A view of 0 is the 64-bit one on a 64-bit system, so that programs of either
// width read the same values. Any thread.

// Below HKEY_LOCAL_MACHINE. Without a default it is 0.
[[nodiscard]] std::uint32_t ReadRegistryDword(const std::wstring& subkey, const std::wstring& name,
                                              const std::uint32_t* defaultValue, std::uint32_t view,
                                              std::uint32_t* error) noexcept;

// Empty when there is no memory for the default.
[[nodiscard]] std::wstring ReadRegistryString(HKEY root, const std::wstring& subkey, const std::wstring& name,
                                              const std::wstring& defaultValue, std::uint32_t view,
                                              std::uint32_t* error) noexcept;

} // namespace VzCommon::Storage

#pragma once

#include <cstdint>
#include <string>

// What the service control manager says of the product's host service.
struct ServiceState
{
    std::wstring name;
    std::uint32_t state = 0; // SERVICE_*; 0 if the service is not there
    std::uint32_t error = 0; // Windows error code: why the state is not known
};

[[nodiscard]] ServiceState QueryHostService();

// The state in words: "not installed", "stopped", "start pending", ..., "unknown".
[[nodiscard]] std::wstring StateName(const ServiceState& service);

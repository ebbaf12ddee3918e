#pragma once

#include <cstdint>
#include <span>

// One event of the system's notification service that can be subscribed.
struct SensSubscription
{
    const wchar_t* method; // of the sink, called for the event
    const wchar_t* name;
    const wchar_t* id; // of the subscription; fixed, so that it can be removed after a crash
};

// Events that are subscribed together or not at all.
struct SensSet
{
    std::uint32_t maskBit;
    const wchar_t* eventClass;
    std::span<const SensSubscription> rows;
};

// Network, session and power, subscribed in this order.
[[nodiscard]] std::span<const SensSet> SensSets();

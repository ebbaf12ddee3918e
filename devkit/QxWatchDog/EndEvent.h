#pragma once

#include <cstdint>

#include "VzComn_Synchronize.h"

// The event that ends the watchdog. One a product and machine, so it is also the claim to be the only one.
namespace WatchDog
{

// Makes the event. False: error is 183 if a watchdog runs already.
[[nodiscard]] bool ClaimEndEvent(VzCommon::Synchronize::Event& event, std::uint32_t& error);

enum class EndResult
{
    Ended,
    NoneRuns,
    Refused, // this process may not signal it
    StillRuns,
};

// Asks the running watchdog to end and waits until it has.
[[nodiscard]] EndResult EndRunningWatchdog();

} // namespace WatchDog

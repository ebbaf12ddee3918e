#pragma once

#include <cstdint>
#include <span>
#include <string>

// What has to hold for the message code whatever the bytes are: it agrees with the model about what they say,
// whichever way they are read, copied or appended again. Gives the first invariant that does not hold, in
// words; empty if all do.
[[nodiscard]] std::string BrokenMessageInvariant(std::span<const std::uint8_t> bytes);

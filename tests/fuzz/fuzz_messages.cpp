// Gives the fuzzer's bytes to the message code as a serialised message.
#include "MessageInvariants.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string broken = BrokenMessageInvariant({data, size});
    if (!broken.empty())
    {
        std::fprintf(stderr, "does not hold: %s\n", broken.c_str());
        std::abort();
    }
    return 0;
}

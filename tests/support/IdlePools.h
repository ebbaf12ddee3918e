#pragma once

#include "ImportPatch.h"

#include <memory>

namespace TestSupport
{

// The link's threads idle for ten seconds before they go. While this lives, they look up from time to time,
// and those that idle go when they are told to: what they hold needs not be waited for. Until then they idle
// as long as ever. A wait for anything else lasts what it lasts. One at a time.
class IdlePools
{
public:
    IdlePools();
    ~IdlePools();

    IdlePools(const IdlePools&) = delete;
    IdlePools& operator=(const IdlePools&) = delete;

    // Whether threads that idle are to go now.
    void End(bool now);

private:
    // Of the program, which may hold the server, and of the client's library; none where that is not there.
    std::unique_ptr<ImportPatch> m_waits[2];
    std::unique_ptr<ImportPatch> m_clocks[2];
};

} // namespace TestSupport

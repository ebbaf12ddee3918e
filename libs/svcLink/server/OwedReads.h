#pragma once

#include "ServerConnection.h"
#include "SlimLock.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

namespace SvcLink
{

// The connections whose next read is put off until a call has been answered, so that the client does not wait
// for it. Whoever serves the call begins the read afterwards; if the call takes its time, whoever goes to the
// port meanwhile does. Any thread.
class OwedReads
{
public:
    using Connection = std::shared_ptr<ServerConnection>;

    // False if there is no memory to remember it.
    [[nodiscard]] bool Add(const Connection& connection);

    // True if the read has become the caller's to begin; false if it is another's.
    [[nodiscard]] bool Take(const Connection& connection);

    // Makes one of the reads the caller's to begin. Null if none is owed.
    [[nodiscard]] Connection TakeAny();

private:
    SlimLock m_lock;
    std::vector<Connection> m_owed;      // Guarded by m_lock.
    std::atomic<std::size_t> m_count{0}; // of them; changes under the lock
};

} // namespace SvcLink

#pragma once

#include "SlimLock.h"
#include "svcLink.h"

#include <map>
#include <string>

namespace SvcLink
{

// The callbacks of one manager by tracking id. Any thread.
class CallbackTable
{
public:
    using Callback = CRpcClientManager::Callback;

    // Both give what was there before; null if nothing was.
    Callback Set(const std::string& trackingId, Callback callback);
    Callback Remove(const std::string& trackingId);

    [[nodiscard]] Callback Find(const std::string& trackingId) const;

    void Clear();

private:
    mutable SlimLock m_lock;
    std::map<std::string, Callback> m_callbacks; // Guarded by m_lock.
};

} // namespace SvcLink

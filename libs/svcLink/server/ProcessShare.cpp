#include "ProcessShare.h"

#include "ServerLimits.h"

namespace SvcLink
{

bool ProcessShare::BeginCall(std::size_t messageSize) noexcept
{
    const std::uint32_t calls = ++m_calls;
    const std::uint64_t bytes = m_callBytes += messageSize;
    if (calls > MaxCallsOfProcess || bytes > MaxCallBytesOfProcess)
    {
        EndCall(messageSize);
        return false;
    }
    return true;
}

void ProcessShare::EndCall(std::size_t messageSize) noexcept
{
    --m_calls;
    m_callBytes -= messageSize;
}

} // namespace SvcLink

#pragma once

#include <cstdint>

namespace SvcLink
{

// Makes clients accept this process as the host although the service control manager does not name it: for a
// host that runs in the foreground. Only an administrator can set the mark; it goes with the object, and a
// mark that is left over names no living process.
class ConsoleHostMark
{
public:
    ConsoleHostMark() = default;
    ~ConsoleHostMark();

    ConsoleHostMark(const ConsoleHostMark&) = delete;
    ConsoleHostMark& operator=(const ConsoleHostMark&) = delete;

    // Fails with a Windows error code in error.
    [[nodiscard]] bool Set(std::uint32_t& error);

private:
    bool m_set = false;
};

} // namespace SvcLink

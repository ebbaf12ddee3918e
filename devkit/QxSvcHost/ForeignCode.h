#pragma once

#include <cstdint>

namespace SvcHost
{

// Which ends of foreign code are contained; all others go on as they would.
enum class Contain
{
    CppExceptions, // of any compiler
    Everything     // access violations and the like as well
};

// Calls foreign code and tells how it ended: 0, or the code of the exception. What a contained exception
// leaves behind is lost: memory, locks of the foreign code.
[[nodiscard]] std::uint32_t CallForeignCode(void (*function)(void*), void* argument, Contain contain);

// Stands for an exception that this program's own C++ runtime caught.
inline constexpr std::uint32_t CppException = 0x20474343;

// The same for an operation without a result.
template <typename Operation>
[[nodiscard]] std::uint32_t CallForeignCode(Operation operation, Contain contain)
{
    struct Call
    {
        Operation& operation;
        bool threw;
    } call{operation, false};

    const auto run = [](void* argument)
    {
        auto* called = static_cast<Call*>(argument);
        try
        {
            called->operation();
        }
        catch (...)
        {
            called->threw = true;
        }
    };
    const std::uint32_t code = CallForeignCode(run, &call, contain);
    return call.threw ? CppException : code;
}

} // namespace SvcHost

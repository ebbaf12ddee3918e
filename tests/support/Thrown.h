#pragma once

#include <memory>

namespace TestSupport
{

// Runs the operation and gives the exception object that it threw by pointer; null if it threw none. Any
// other exception passes through.
template <typename ExceptionClass, typename Operation>
[[nodiscard]] std::unique_ptr<ExceptionClass> Thrown(Operation operation)
{
    try
    {
        operation();
    }
    catch (ExceptionClass* caught)
    {
        return std::unique_ptr<ExceptionClass>(caught);
    }
    return nullptr;
}

} // namespace TestSupport

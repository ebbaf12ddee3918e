#pragma once

#include "VzComn_Error.h"
#include "VzComn_Storage.h"

#include <memory>

namespace VzCommon::Storage
{

// The error of an exception that is none of the stores'.
inline constexpr std::uint32_t UnknownExceptionError = 0x800300FDU;

// The operation's value with error 0, or the default with the error of the exception that it threw.
template <typename Value, typename Operation>
Value NoThrow(Value defaultValue, std::uint32_t* error, Operation operation)
{
    try
    {
        Value value = operation();
        Succeed(error);
        return value;
    }
    catch (VzCommon::Storage::Exception* caught)
    {
        const std::unique_ptr<VzCommon::Storage::Exception> exception(caught);
        Fail(error, exception->code);
    }
    catch (VzCommon::Exception::Base* caught)
    {
        const std::unique_ptr<VzCommon::Exception::Base> exception(caught);
        Fail(error, UnknownExceptionError);
    }
    catch (...)
    {
        Fail(error, UnknownExceptionError);
    }
    return defaultValue;
}

} // namespace VzCommon::Storage

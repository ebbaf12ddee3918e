#pragma once

#include <cstdint>

namespace VzCommon
{

// The library's way of reporting: a bool, and the Windows error code in an out-argument that may be null.
inline bool Report(std::uint32_t* error, std::uint32_t code, bool result)
{
    if (error != nullptr)
    {
        *error = code;
    }
    return result;
}

inline bool Succeed(std::uint32_t* error)
{
    return Report(error, 0, true);
}

inline bool Fail(std::uint32_t* error, std::uint32_t code)
{
    return Report(error, code, false);
}

} // namespace VzCommon

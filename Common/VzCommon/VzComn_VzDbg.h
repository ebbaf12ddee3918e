#pragma once

#include "VzComn_Library.h"

#include <VzDbgLog.h>

namespace VzCommon::Library
{

// The closed log writer VzDbgLog.dll. Used by one thread at a time.
class VzDbg : public Wrapper
{
public:
    // Resolves all three exports even if one is missing; the error is that of the first missing one.
    bool Bind(bool bind, std::uint32_t* error) override;

    // Whether lines can be written.
    [[nodiscard]] bool CanTrace() const { return trace != nullptr; }

    // The exports themselves. Only while bound, Trace only if CanTrace.
    DWORD Initialize(void** handle, const VzDbgConfig& config) const { return initialize(handle, &config); }

    DWORD Trace(void* handle, const SYSTEMTIME& time, const wchar_t* line) const
    {
        return trace(handle, &time, line);
    }

    void Uninitialize(void* handle) const { uninitialize(handle); }

private:
    decltype(VzDbgInitialize)* initialize = nullptr;
    decltype(VzDbgTrace)* trace = nullptr;
    decltype(VzDbgUninitialize)* uninitialize = nullptr;
};

} // namespace VzCommon::Library

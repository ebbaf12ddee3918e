#pragma once

#include "VzComn_Handle.h"

namespace Frwk::OperationSystem
{
// Base of a class that calls a library by addresses found at run time. Frees the library at its end. Belongs
// to the thread that made it.
class CDllModule
{
public:
    CDllModule() = default;
    virtual ~CDllModule() = default;

    CDllModule(const CDllModule&) = delete;
    CDllModule& operator=(const CDllModule&) = delete;

    [[nodiscard]] bool IsLoaded() const { return m_bLoaded; }

    // The system's error of the load that failed last.
    [[nodiscard]] DWORD LastError() const { return m_dwLastError; }

protected:
    // Frees the library that is held, and loads another.
    bool Load(const wchar_t* fileName);

    // The address of an export; null if the library has none of that name.
    template <typename Function>
    [[nodiscard]] Function* Find(const char* name) const
    {
        // By way of an untyped pointer: a direct cast between function types draws the compiler's warning.
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(m_module.Get(), name)));
    }

private:
    bool m_bLoaded = false;
    DWORD m_dwLastError = 0;
    VzCommon::ModuleHandle m_module;
};
} // namespace Frwk::OperationSystem

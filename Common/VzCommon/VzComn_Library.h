#pragma once

#include "VzComn_Handle.h"

#include <cstdint>

namespace VzCommon::Library
{

// A library that is loaded by name at run time. Belongs to the thread that made it. The destructor frees a
// loaded library.
class Base
{
public:
    Base() = default;
    virtual ~Base() = default;

    Base(const Base&) = delete;
    Base& operator=(const Base&) = delete;

    // The second argument is ignored. Error 160 for a null name, 5010 if loaded already, otherwise the
    // loader's own, 1114 included.
    bool Load(const wchar_t* fileName, const void* ignored, std::uint32_t* error);

    // Error 6 if nothing is loaded. A library that the system refuses to free stays loaded.
    bool Unload(std::uint32_t* error);

    [[nodiscard]] bool IsLoaded() const { return static_cast<bool>(module); }

    // The address of an export, or null with error 6 (no library), 160 (unusable name) or the loader's own.
    FARPROC Resolve(const wchar_t* name, std::uint32_t* error) const;

    // The same into a typed pointer. A failure leaves null there.
    template <typename Function>
    bool Resolve(const wchar_t* name, Function*& address, std::uint32_t* error) const
    {
        // By way of an untyped pointer: a direct cast between function types draws the compiler's warning.
        address = reinterpret_cast<Function*>(reinterpret_cast<void*>(Resolve(name, error)));
        return address != nullptr;
    }

private:
    ModuleHandle module;
};

// A library together with the table of the exports that its users call.
class Wrapper : public Base
{
public:
    // True resolves the exports, false forgets them and succeeds. A missing export leaves the table unbound.
    virtual bool Bind(bool bind, std::uint32_t* error) = 0;

    [[nodiscard]] bool IsBound() const { return bound; }

protected:
    bool bound = false;
};

} // namespace VzCommon::Library

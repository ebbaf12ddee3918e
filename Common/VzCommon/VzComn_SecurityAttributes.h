#pragma once

#include "VzComn_Exception.h"

#include <atlsecurity.h>

#include <cstdint>

namespace VzCommon::AccessControl
{

class Exception : public VzCommon::Exception::Base
{
public:
    Exception(std::uint32_t errorCode, std::uint32_t sourceLine, std::string file,
              std::uint32_t errorDetail = 0)
        : Base(errorCode, sourceLine, std::move(file)), detail(errorDetail)
    {
    }

    const std::uint32_t detail;
};

// What an object is decides who may do what with it.
namespace Kind
{
inline constexpr std::uint32_t File = 0;
inline constexpr std::uint32_t RegistryKey = 4;
inline constexpr std::uint32_t Process = 5;
inline constexpr std::uint32_t Thread = 6;
inline constexpr std::uint32_t NewEvent = 9;
inline constexpr std::uint32_t Event = 10;
inline constexpr std::uint32_t NewMutex = 11;
inline constexpr std::uint32_t Mutex = 12;
inline constexpr std::uint32_t None = 18; // no attributes: the creator passes a null pointer
} // namespace Kind

// The rights of a new kernel object: seven accounts, each with the access mask of the object's kind. Never
// throws: when the descriptor cannot be built the structure stays zeroed, which the system takes as its
// default security.
class SecurityAttributes : public ATL::CSecurityAttributes
{
public:
    SecurityAttributes(std::uint32_t objectKind, bool inheritHandle) noexcept;

    SecurityAttributes(const SecurityAttributes&) = delete;
    SecurityAttributes& operator=(const SecurityAttributes&) = delete;

    // What the creating call takes: null for Kind::None, otherwise this object, built or not.
    [[nodiscard]] SECURITY_ATTRIBUTES* ForCreation() noexcept;

    [[nodiscard]] std::uint32_t GetKind() const noexcept { return kind; }

private:
    void Build();

    ATL::CSecurityDesc descriptor;
    std::uint32_t kind;
    bool inherit;
};

} // namespace VzCommon::AccessControl

// Access rights for kernel objects, under ATL's public names. In use:
//
//     ATL::CDacl dacl;
//     dacl.AddAllowedAce(ATL::Sids::Admins(), EVENT_ALL_ACCESS);
//     ATL::CSecurityDesc descriptor;
//     descriptor.SetDacl(dacl);
//     ATL::CSecurityAttributes attributes(descriptor);  // to CreateEventW
#pragma once

#include <windows.h>

#include <vector>

namespace ATL
{
// Thrown by value when the system refuses a step.
class CAtlException
{
public:
    explicit CAtlException(HRESULT hr) noexcept : m_hr(hr) {}

    HRESULT m_hr;
};

// A security identifier, held by value.
class CSid
{
public:
    explicit CSid(WELL_KNOWN_SID_TYPE type);

    [[nodiscard]] UINT GetLength() const noexcept { return static_cast<UINT>(m_sid.size()); }

    // Good for the life of this object.
    [[nodiscard]] const SID* GetPSID() const noexcept { return reinterpret_cast<const SID*>(m_sid.data()); }

private:
    std::vector<BYTE> m_sid;
};

namespace Sids
{
inline constexpr auto CreatorOwner = [] { return CSid(WinCreatorOwnerSid); };           // S-1-3-0
inline constexpr auto Interactive = [] { return CSid(WinInteractiveSid); };             // S-1-5-4
inline constexpr auto AuthenticatedUser = [] { return CSid(WinAuthenticatedUserSid); }; // S-1-5-11
inline constexpr auto System = [] { return CSid(WinLocalSystemSid); };                  // S-1-5-18
inline constexpr auto Admins = [] { return CSid(WinBuiltinAdministratorsSid); };        // S-1-5-32-544
inline constexpr auto Users = [] { return CSid(WinBuiltinUsersSid); };                  // S-1-5-32-545
inline constexpr auto PowerUsers = [] { return CSid(WinBuiltinPowerUsersSid); };        // S-1-5-32-547
} // namespace Sids

// An access list in the order in which its entries were added. Without entries it denies everybody.
class CDacl
{
public:
    CDacl();

    // True, or throws: when the system refuses, and when the list would grow beyond its limit of 64 KB.
    bool AddAllowedAce(const CSid& rSid, ACCESS_MASK AccessMask, BYTE AceFlags = 0);

    // Good until the next entry is added.
    [[nodiscard]] const ACL* GetPACL() const noexcept { return reinterpret_cast<const ACL*>(m_acl.data()); }

private:
    std::vector<BYTE> m_acl;
};

// A security descriptor in its self-relative form, so a copy is a copy of its bytes. It has no owner, no
// group and no audit list, and nothing at all before SetDacl.
class CSecurityDesc
{
public:
    void SetDacl(const CDacl& Dacl, bool bDefaulted = false);
    // Null before SetDacl. Good until the next change of this object.
    [[nodiscard]] const SECURITY_DESCRIPTOR* GetPSECURITY_DESCRIPTOR() const noexcept;

private:
    std::vector<BYTE> m_descriptor;
};

// What the creating calls of the system take. Owns a copy of its descriptor; all zero before Set.
class CSecurityAttributes : public SECURITY_ATTRIBUTES
{
public:
    CSecurityAttributes() noexcept : SECURITY_ATTRIBUTES{} {}

    explicit CSecurityAttributes(const CSecurityDesc& rSecurityDescriptor, bool bInheritsHandle = false);
    CSecurityAttributes(const CSecurityAttributes&) = delete;
    CSecurityAttributes& operator=(const CSecurityAttributes&) = delete;

    void Set(const CSecurityDesc& rSecurityDescriptor, bool bInheritsHandle = false);

protected:
    CSecurityDesc m_SecurityDescriptor;
};
} // namespace ATL

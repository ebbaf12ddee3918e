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
    CAtlException() noexcept = default;

    explicit CAtlException(HRESULT hr) noexcept : m_hr(hr) {}

    HRESULT m_hr = E_FAIL;
};

// A security identifier, held by value.
class CSid
{
public:
    // Takes nSubAuthorityCount further DWORDs.
    CSid(const SID_IDENTIFIER_AUTHORITY& rIdentifierAuthority, BYTE nSubAuthorityCount, ...);

    [[nodiscard]] UINT GetLength() const noexcept;
    // Good for the life of this object.
    [[nodiscard]] const SID* GetPSID() const noexcept;

private:
    std::vector<BYTE> m_sid;
};

namespace Sids
{
CSid CreatorOwner();      // S-1-3-0
CSid Interactive();       // S-1-5-4
CSid AuthenticatedUser(); // S-1-5-11
CSid System();            // S-1-5-18
CSid Admins();            // S-1-5-32-544
CSid Users();             // S-1-5-32-545
CSid PowerUsers();        // S-1-5-32-547
} // namespace Sids

// An access list in the order in which its entries were added. Without entries it denies everybody.
class CDacl
{
public:
    CDacl();

    // Throws when the entry would take the list beyond the system's limit of 64 KB.
    bool AddAllowedAce(const CSid& rSid, ACCESS_MASK AccessMask, BYTE AceFlags = 0);
    [[nodiscard]] UINT GetAceCount() const noexcept;
    // Good until the next entry is added.
    [[nodiscard]] const ACL* GetPACL() const noexcept;

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

// What the creating calls of the system take. Owns a copy of its descriptor, and so must outlive the call
// only. Empty, it is all zero.
class CSecurityAttributes : public SECURITY_ATTRIBUTES
{
public:
    CSecurityAttributes() noexcept;
    explicit CSecurityAttributes(const CSecurityDesc& rSecurityDescriptor, bool bInheritsHandle = false);
    CSecurityAttributes(const CSecurityAttributes&) = delete;
    CSecurityAttributes& operator=(const CSecurityAttributes&) = delete;

    void Set(const CSecurityDesc& rSecurityDescriptor, bool bInheritsHandle = false);

protected:
    CSecurityDesc m_SecurityDescriptor;
};
} // namespace ATL

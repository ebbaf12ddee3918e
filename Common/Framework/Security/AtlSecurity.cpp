#include "atlsecurity.h"

#include <cstdarg>

namespace ATL
{
namespace
{
[[noreturn]] void ThrowSystemError(DWORD error)
{
    throw CAtlException(HRESULT_FROM_WIN32(error));
}

std::vector<BYTE> MakeDescriptor(const ACL* pDacl, bool bDefaulted)
{
    SECURITY_DESCRIPTOR absolute{};
    if (!::InitializeSecurityDescriptor(&absolute, SECURITY_DESCRIPTOR_REVISION) ||
        !::SetSecurityDescriptorDacl(&absolute, TRUE, const_cast<ACL*>(pDacl), bDefaulted))
    {
        ThrowSystemError(::GetLastError());
    }
    DWORD size = 0;
    ::MakeSelfRelativeSD(&absolute, nullptr, &size); // only tells the size
    std::vector<BYTE> relative(size);
    if (!::MakeSelfRelativeSD(&absolute, relative.data(), &size))
    {
        ThrowSystemError(::GetLastError());
    }
    return relative;
}
} // namespace

CSid::CSid(const SID_IDENTIFIER_AUTHORITY& rIdentifierAuthority, BYTE nSubAuthorityCount, ...)
    : m_sid(::GetSidLengthRequired(nSubAuthorityCount))
{
    auto authority = rIdentifierAuthority;
    if (!::InitializeSid(m_sid.data(), &authority, nSubAuthorityCount))
    {
        ThrowSystemError(::GetLastError());
    }
    va_list arguments;
    va_start(arguments, nSubAuthorityCount);
    for (DWORD i = 0; i < nSubAuthorityCount; ++i)
    {
        *::GetSidSubAuthority(m_sid.data(), i) = va_arg(arguments, DWORD);
    }
    va_end(arguments);
}

UINT CSid::GetLength() const noexcept
{
    return static_cast<UINT>(m_sid.size());
}

const SID* CSid::GetPSID() const noexcept
{
    return reinterpret_cast<const SID*>(m_sid.data());
}

namespace Sids
{
CSid CreatorOwner()
{
    return CSid(SECURITY_CREATOR_SID_AUTHORITY, 1, SECURITY_CREATOR_OWNER_RID);
}

CSid Interactive()
{
    return CSid(SECURITY_NT_AUTHORITY, 1, SECURITY_INTERACTIVE_RID);
}

CSid AuthenticatedUser()
{
    return CSid(SECURITY_NT_AUTHORITY, 1, SECURITY_AUTHENTICATED_USER_RID);
}

CSid System()
{
    return CSid(SECURITY_NT_AUTHORITY, 1, SECURITY_LOCAL_SYSTEM_RID);
}

CSid Admins()
{
    return CSid(SECURITY_NT_AUTHORITY, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS);
}

CSid Users()
{
    return CSid(SECURITY_NT_AUTHORITY, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_USERS);
}

CSid PowerUsers()
{
    return CSid(SECURITY_NT_AUTHORITY, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_POWER_USERS);
}
} // namespace Sids

CDacl::CDacl() : m_acl(sizeof(ACL))
{
    if (!::InitializeAcl(reinterpret_cast<ACL*>(m_acl.data()), sizeof(ACL), ACL_REVISION))
    {
        ThrowSystemError(::GetLastError());
    }
}

bool CDacl::AddAllowedAce(const CSid& rSid, ACCESS_MASK AccessMask, BYTE AceFlags)
{
    // The entry's own last field is the first four bytes of the identifier.
    const auto size = m_acl.size() + sizeof(ACCESS_ALLOWED_ACE) - sizeof(DWORD) + rSid.GetLength();
    if (size > MAXWORD)
    {
        ThrowSystemError(ERROR_ALLOTTED_SPACE_EXCEEDED);
    }
    m_acl.resize(size);
    auto* const pAcl = reinterpret_cast<ACL*>(m_acl.data());
    pAcl->AclSize = static_cast<WORD>(size);
    if (!::AddAccessAllowedAceEx(pAcl, ACL_REVISION, AceFlags, AccessMask, const_cast<SID*>(rSid.GetPSID())))
    {
        ThrowSystemError(::GetLastError());
    }
    return true;
}

UINT CDacl::GetAceCount() const noexcept
{
    return GetPACL()->AceCount;
}

const ACL* CDacl::GetPACL() const noexcept
{
    return reinterpret_cast<const ACL*>(m_acl.data());
}

void CSecurityDesc::SetDacl(const CDacl& Dacl, bool bDefaulted)
{
    m_descriptor = MakeDescriptor(Dacl.GetPACL(), bDefaulted);
}

const SECURITY_DESCRIPTOR* CSecurityDesc::GetPSECURITY_DESCRIPTOR() const noexcept
{
    return m_descriptor.empty() ? nullptr : reinterpret_cast<const SECURITY_DESCRIPTOR*>(m_descriptor.data());
}

CSecurityAttributes::CSecurityAttributes() noexcept : SECURITY_ATTRIBUTES{} {}

CSecurityAttributes::CSecurityAttributes(const CSecurityDesc& rSecurityDescriptor, bool bInheritsHandle)
    : SECURITY_ATTRIBUTES{}
{
    Set(rSecurityDescriptor, bInheritsHandle);
}

void CSecurityAttributes::Set(const CSecurityDesc& rSecurityDescriptor, bool bInheritsHandle)
{
    m_SecurityDescriptor = rSecurityDescriptor;
    nLength = sizeof(SECURITY_ATTRIBUTES);
    lpSecurityDescriptor = const_cast<SECURITY_DESCRIPTOR*>(m_SecurityDescriptor.GetPSECURITY_DESCRIPTOR());
    bInheritHandle = bInheritsHandle;
}
} // namespace ATL

#include "atlsecurity.h"

namespace ATL
{
namespace
{
// Takes the result of a system call that leaves its error behind.
void ThrowUnless(BOOL bDone)
{
    if (!bDone)
    {
        throw CAtlException(HRESULT_FROM_WIN32(::GetLastError()));
    }
}
} // namespace

CSid::CSid(WELL_KNOWN_SID_TYPE type) : m_sid(SECURITY_MAX_SID_SIZE)
{
    DWORD size = SECURITY_MAX_SID_SIZE;
    ThrowUnless(::CreateWellKnownSid(type, nullptr, m_sid.data(), &size));
    m_sid.resize(size);
}

CDacl::CDacl() : m_acl(sizeof(ACL))
{
    ThrowUnless(::InitializeAcl(reinterpret_cast<ACL*>(m_acl.data()), sizeof(ACL), ACL_REVISION));
}

bool CDacl::AddAllowedAce(const CSid& rSid, ACCESS_MASK AccessMask, BYTE AceFlags)
{
    // The entry's own last field is the first four bytes of the identifier.
    const auto size = m_acl.size() + sizeof(ACCESS_ALLOWED_ACE) - sizeof(DWORD) + rSid.GetLength();
    if (size > MAXWORD)
    {
        throw CAtlException(HRESULT_FROM_WIN32(ERROR_ALLOTTED_SPACE_EXCEEDED));
    }
    m_acl.resize(size);
    auto* const pAcl = reinterpret_cast<ACL*>(m_acl.data());
    pAcl->AclSize = static_cast<WORD>(size);
    auto* const pSid = const_cast<SID*>(rSid.GetPSID());
    ThrowUnless(::AddAccessAllowedAceEx(pAcl, ACL_REVISION, AceFlags, AccessMask, pSid));
    return true;
}

void CSecurityDesc::SetDacl(const CDacl& Dacl, bool bDefaulted)
{
    SECURITY_DESCRIPTOR absolute{};
    ThrowUnless(::InitializeSecurityDescriptor(&absolute, SECURITY_DESCRIPTOR_REVISION));
    ThrowUnless(::SetSecurityDescriptorDacl(&absolute, TRUE, const_cast<ACL*>(Dacl.GetPACL()), bDefaulted));
    DWORD size = 0;
    ::MakeSelfRelativeSD(&absolute, nullptr, &size); // only tells the size
    std::vector<BYTE> relative(size);
    ThrowUnless(::MakeSelfRelativeSD(&absolute, relative.data(), &size));
    m_descriptor = std::move(relative);
}

const SECURITY_DESCRIPTOR* CSecurityDesc::GetPSECURITY_DESCRIPTOR() const noexcept
{
    return m_descriptor.empty() ? nullptr : reinterpret_cast<const SECURITY_DESCRIPTOR*>(m_descriptor.data());
}

CSecurityAttributes::CSecurityAttributes(const CSecurityDesc& rSecurityDescriptor, bool bInheritsHandle)
    : CSecurityAttributes()
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

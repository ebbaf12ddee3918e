#include "VzComn_SecurityAttributes.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <memory>

namespace VzCommon::AccessControl
{

namespace
{

constexpr size_t accountCount = 7;

// The accounts in the order of the entries and of the masks below.
std::array<ATL::CSid, accountCount> Accounts()
{
    return {ATL::Sids::Admins(),      ATL::Sids::PowerUsers(),
            ATL::Sids::System(),      ATL::Sids::AuthenticatedUser(),
            ATL::Sids::Users(),       ATL::Sids::Interactive(),
            ATL::Sids::CreatorOwner()};
}

struct KindMasks
{
    std::uint32_t kind;
    std::array<ACCESS_MASK, accountCount> masks;
};

// Administrators, Power Users, Local System, Authenticated Users, Users, Interactive, Creator Owner
constexpr KindMasks table[] = {
    {Kind::File, {0x13013F, 0x12002F, 0x13013F, 0x120029, 0x120029, 0x120029, 0x1F01FF}},
    {1, {0x1100C7, 0x100087, 0x1100C7, 0x100081, 0x100081, 0x100081, 0x1F01FF}},
    {2, {0x101F7, 0x18D, 0x1F5, 0x185, 0x185, 0x185, 0xF01FF}},
    // Deliberate: administrators do not get READ_CONTROL, which the users' 0x20009 holds.
    {Kind::RegistryKey, {0x1003F, 0x3F, 0x1003F, 0x20009, 0x20009, 0x20009, 0xF003F}},
    {Kind::Process, {0x100FFB, 0x100E92, 0x100FFB, 0x100410, 0x100410, 0x100410, 0x1F0FFF}},
    {Kind::Thread, {0x1000FB, 0x10006A, 0x1000FB, 0x100048, 0x100048, 0x100048, 0x1F03FB}},
    {Kind::NewEvent, {0x100002, 0x100002, 0x100002, 0x100002, 0x100002, 0x100002, 0x100002}},
    {Kind::Event, {0x1F0003, 0x1F0003, 0x1F0003, 0x1F0003, 0x1F0003, 0x1F0003, 0x1F0003}},
    {Kind::NewMutex, {0x100001, 0x100001, 0x100001, 0x100001, 0x100001, 0x100001, 0x100001}},
    {Kind::Mutex, {0x1F0001, 0x1F0001, 0x1F0001, 0x1F0001, 0x1F0001, 0x1F0001, 0x1F0001}},
    {19, {0x1F01FF, 0x1F01FF, 0x1F01FF, 0x12019F, 0x12019F, 0x12019F, 0x1F01FF}},
};

const KindMasks& MasksOf(std::uint32_t kind)
{
    const auto* row = std::find_if(std::begin(table), std::end(table),
                                   [kind](const KindMasks& candidate) { return candidate.kind == kind; });
    if (row == std::end(table))
    {
        VZ_THROW(Exception, ERROR_BAD_ARGUMENTS, kind);
    }
    return *row;
}

ATL::CSecurityDesc Describe(const KindMasks& row)
{
    try
    {
        const auto accounts = Accounts();
        ATL::CDacl dacl;
        for (size_t i = 0; i < accountCount; ++i)
        {
            dacl.AddAllowedAce(accounts[i], row.masks[i]);
        }
        ATL::CSecurityDesc built;
        built.SetDacl(dacl);
        return built;
    }
    catch (const ATL::CAtlException& failure)
    {
        const auto result = static_cast<std::uint32_t>(failure.m_hr);
        VZ_THROW(Exception, failure.m_hr > 0 ? 0x80070000U | (result & 0xFFFFU) : result, result);
    }
}

} // namespace

SecurityAttributes::SecurityAttributes(std::uint32_t objectKind, bool inheritHandle) noexcept
    : kind(objectKind), inherit(inheritHandle)
{
    static_cast<SECURITY_ATTRIBUTES&>(*this) = {};
    try
    {
        Build();
    }
    catch (VzCommon::Exception::Base* caught)
    {
        // Deliberate: the structure stays zeroed, which gives the object the system's default security.
        const std::unique_ptr<VzCommon::Exception::Base> exception(caught);
    }
    catch (...) // NOLINT(bugprone-empty-catch): likewise
    {
    }
}

SECURITY_ATTRIBUTES* SecurityAttributes::ForCreation() noexcept
{
    return kind == Kind::None ? nullptr : this;
}

void SecurityAttributes::Build()
{
    descriptor = Describe(MasksOf(kind));
    nLength = sizeof(SECURITY_ATTRIBUTES);
    lpSecurityDescriptor = const_cast<SECURITY_DESCRIPTOR*>(descriptor.GetPSECURITY_DESCRIPTOR());
    bInheritHandle = inherit ? TRUE : FALSE;
}

} // namespace VzCommon::AccessControl

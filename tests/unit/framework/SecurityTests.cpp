#include "ImportPatch.h"
#include "UniqueName.h"

#include <atlsecurity.h>

#include <aclapi.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include <string>
#include <vector>

namespace
{
struct Entry
{
    std::wstring sid;
    ACCESS_MASK mask;
    BYTE flags;

    bool operator==(const Entry&) const = default;
};

void PrintTo(const Entry& entry, std::ostream* out)
{
    *out << std::string(entry.sid.begin(), entry.sid.end()) << " 0x" << std::hex << entry.mask << " flags "
         << int{entry.flags};
}

std::wstring SidText(const void* sid)
{
    LPWSTR text = nullptr;
    EXPECT_TRUE(ConvertSidToStringSidW(const_cast<void*>(sid), &text));
    std::wstring result = text != nullptr ? text : L"";
    LocalFree(text);
    return result;
}

std::vector<Entry> EntriesOf(const ACL* acl)
{
    std::vector<Entry> entries;
    for (WORD i = 0; acl != nullptr && i < acl->AceCount; ++i)
    {
        void* ace = nullptr;
        EXPECT_TRUE(GetAce(const_cast<ACL*>(acl), i, &ace));
        const auto* allowed = static_cast<const ACCESS_ALLOWED_ACE*>(ace);
        EXPECT_EQ(allowed->Header.AceType, ACCESS_ALLOWED_ACE_TYPE);
        entries.push_back({SidText(&allowed->SidStart), allowed->Mask, allowed->Header.AceFlags});
    }
    return entries;
}

std::vector<Entry> EntriesOf(const ATL::CSecurityDesc& descriptor)
{
    BOOL present = FALSE;
    BOOL defaulted = TRUE;
    ACL* acl = nullptr;
    EXPECT_TRUE(GetSecurityDescriptorDacl(
        const_cast<SECURITY_DESCRIPTOR*>(descriptor.GetPSECURITY_DESCRIPTOR()), &present, &acl, &defaulted));
    EXPECT_TRUE(present);
    EXPECT_FALSE(defaulted);
    return EntriesOf(acl);
}

// Seven accounts with seven masks, none in the order that the system would sort them into.
ATL::CDacl SevenEntries()
{
    ATL::CDacl dacl;
    dacl.AddAllowedAce(ATL::Sids::Admins(), 0x1F0003);
    dacl.AddAllowedAce(ATL::Sids::PowerUsers(), 0x100002);
    dacl.AddAllowedAce(ATL::Sids::System(), 0x1F0003);
    dacl.AddAllowedAce(ATL::Sids::AuthenticatedUser(), 0x100003);
    dacl.AddAllowedAce(ATL::Sids::Users(), 0x100001);
    dacl.AddAllowedAce(ATL::Sids::Interactive(), 0x100000);
    dacl.AddAllowedAce(ATL::Sids::CreatorOwner(), 0x1F0001);
    return dacl;
}

const std::vector<Entry> sevenEntries = {
    {L"S-1-5-32-544", 0x1F0003, 0}, {L"S-1-5-32-547", 0x100002, 0}, {L"S-1-5-18", 0x1F0003, 0},
    {L"S-1-5-11", 0x100003, 0},     {L"S-1-5-32-545", 0x100001, 0}, {L"S-1-5-4", 0x100000, 0},
    {L"S-1-3-0", 0x1F0001, 0},
};

BOOL WINAPI RefuseEntry(PACL, DWORD, DWORD, DWORD, PSID)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

TEST(SidTest, NamesTheSevenAccounts)
{
    EXPECT_EQ(SidText(ATL::Sids::Admins().GetPSID()), L"S-1-5-32-544");
    EXPECT_EQ(SidText(ATL::Sids::PowerUsers().GetPSID()), L"S-1-5-32-547");
    EXPECT_EQ(SidText(ATL::Sids::System().GetPSID()), L"S-1-5-18");
    EXPECT_EQ(SidText(ATL::Sids::AuthenticatedUser().GetPSID()), L"S-1-5-11");
    EXPECT_EQ(SidText(ATL::Sids::Users().GetPSID()), L"S-1-5-32-545");
    EXPECT_EQ(SidText(ATL::Sids::Interactive().GetPSID()), L"S-1-5-4");
    EXPECT_EQ(SidText(ATL::Sids::CreatorOwner().GetPSID()), L"S-1-3-0");
}

TEST(SidTest, IsAsLongAsTheSystemSays)
{
    const auto sid = ATL::Sids::Admins();
    EXPECT_EQ(sid.GetLength(), GetLengthSid(const_cast<SID*>(sid.GetPSID())));
}

TEST(DaclTest, StartsValidAndEmpty)
{
    const ATL::CDacl dacl;
    EXPECT_TRUE(IsValidAcl(const_cast<ACL*>(dacl.GetPACL())));
    EXPECT_EQ(dacl.GetPACL()->AceCount, 0);
}

TEST(DaclTest, KeepsTheOrderOfAdding)
{
    EXPECT_EQ(EntriesOf(SevenEntries().GetPACL()), sevenEntries);
}

TEST(DaclTest, KeepsTheFlagsOfAnEntry)
{
    ATL::CDacl dacl;
    EXPECT_TRUE(dacl.AddAllowedAce(ATL::Sids::Users(), GENERIC_READ, CONTAINER_INHERIT_ACE));
    EXPECT_EQ(EntriesOf(dacl.GetPACL()),
              (std::vector<Entry>{{L"S-1-5-32-545", GENERIC_READ, CONTAINER_INHERIT_ACE}}));
}

TEST(DaclTest, ThrowsWhenItOutgrowsTheSystemsLimit)
{
    ATL::CDacl dacl;
    const auto fill = [&dacl]
    {
        for (int i = 0; i < 0x10000; ++i)
        {
            dacl.AddAllowedAce(ATL::Sids::Admins(), 1);
        }
    };
    EXPECT_THROW(fill(), ATL::CAtlException);
    EXPECT_TRUE(IsValidAcl(const_cast<ACL*>(dacl.GetPACL())));
}

TEST(DaclTest, ThrowsTheErrorOfTheSystem)
{
    const TestSupport::ImportPatch patch(nullptr, "AddAccessAllowedAceEx", &RefuseEntry);
    ATL::CDacl dacl;
    try
    {
        dacl.AddAllowedAce(ATL::Sids::Admins(), 1);
        FAIL() << "nothing was thrown";
    }
    catch (const ATL::CAtlException& exception)
    {
        EXPECT_EQ(exception.m_hr, HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
    }
}

TEST(SecurityDescTest, HoldsNothingBeforeItHasADacl)
{
    EXPECT_EQ(ATL::CSecurityDesc().GetPSECURITY_DESCRIPTOR(), nullptr);
}

TEST(SecurityDescTest, TakesTheDaclAsPresentAndNotDefaulted)
{
    ATL::CSecurityDesc descriptor;
    descriptor.SetDacl(SevenEntries());
    EXPECT_TRUE(
        IsValidSecurityDescriptor(const_cast<SECURITY_DESCRIPTOR*>(descriptor.GetPSECURITY_DESCRIPTOR())));
    EXPECT_EQ(EntriesOf(descriptor), sevenEntries);
}

TEST(SecurityDescTest, ReplacesTheDacl)
{
    ATL::CSecurityDesc descriptor;
    descriptor.SetDacl(SevenEntries());
    descriptor.SetDacl(ATL::CDacl());
    EXPECT_TRUE(EntriesOf(descriptor).empty());
}

TEST(SecurityDescTest, HasNoOwnerAndNoGroup)
{
    ATL::CSecurityDesc descriptor;
    descriptor.SetDacl(SevenEntries());
    auto* raw = const_cast<SECURITY_DESCRIPTOR*>(descriptor.GetPSECURITY_DESCRIPTOR());
    PSID sid = nullptr;
    BOOL defaulted = FALSE;
    EXPECT_TRUE(GetSecurityDescriptorOwner(raw, &sid, &defaulted));
    EXPECT_EQ(sid, nullptr);
    EXPECT_TRUE(GetSecurityDescriptorGroup(raw, &sid, &defaulted));
    EXPECT_EQ(sid, nullptr);
}

TEST(SecurityDescTest, CopiesByValue)
{
    ATL::CSecurityDesc copy;
    {
        ATL::CSecurityDesc original;
        original.SetDacl(SevenEntries());
        copy = original;
        original.SetDacl(ATL::CDacl());
        EXPECT_NE(copy.GetPSECURITY_DESCRIPTOR(), original.GetPSECURITY_DESCRIPTOR());
    }
    EXPECT_EQ(EntriesOf(copy), sevenEntries);
}

TEST(SecurityAttributesTest, AreAllZeroBeforeTheyAreSet)
{
    const ATL::CSecurityAttributes attributes;
    EXPECT_EQ(attributes.nLength, 0U);
    EXPECT_EQ(attributes.lpSecurityDescriptor, nullptr);
    EXPECT_FALSE(attributes.bInheritHandle);
}

TEST(SecurityAttributesTest, GiveAnEventItsSevenEntries)
{
    HANDLE event = nullptr;
    {
        ATL::CSecurityDesc descriptor;
        descriptor.SetDacl(SevenEntries());
        ATL::CSecurityAttributes attributes(descriptor);
        descriptor.SetDacl(ATL::CDacl()); // the attributes hold a copy
        event =
            CreateEventW(&attributes, TRUE, FALSE, TestSupport::UniqueName(L"Local\\SecurityTests").c_str());
    }
    ASSERT_NE(event, nullptr);

    PSECURITY_DESCRIPTOR raw = nullptr;
    ACL* acl = nullptr;
    ASSERT_EQ(GetSecurityInfo(event, SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &acl,
                              nullptr, &raw),
              static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(EntriesOf(acl), sevenEntries);
    LocalFree(raw);
    CloseHandle(event);
}

TEST(SecurityAttributesTest, SayWhetherTheHandleIsInherited)
{
    ATL::CSecurityDesc descriptor;
    descriptor.SetDacl(SevenEntries());
    for (const bool inherit : {false, true})
    {
        ATL::CSecurityAttributes attributes;
        attributes.Set(descriptor, inherit);
        EXPECT_EQ(attributes.nLength, sizeof(SECURITY_ATTRIBUTES));
        HANDLE event = CreateEventW(&attributes, TRUE, FALSE, nullptr);
        DWORD flags = 0;
        EXPECT_TRUE(GetHandleInformation(event, &flags));
        EXPECT_EQ((flags & HANDLE_FLAG_INHERIT) != 0, inherit);
        CloseHandle(event);
    }
}
} // namespace

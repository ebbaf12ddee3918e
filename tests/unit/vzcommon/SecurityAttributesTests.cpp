#include "VzComn_Handle.h"
#include "VzComn_SecurityAttributes.h"
#include "VzComn_Synchronize.h"

#include "ImportPatch.h"
#include "TempRegistry.h"
#include "UniqueName.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <process.h>
#include <sddl.h>

#include <string>
#include <vector>

namespace
{

using TestSupport::ImportPatch;
using TestSupport::UniqueName;
using VzCommon::KernelHandle;
using VzCommon::AccessControl::SecurityAttributes;

struct Entry
{
    std::wstring account;
    ACCESS_MASK mask;

    bool operator==(const Entry&) const = default;
};

using Entries = std::vector<Entry>;

void PrintTo(const Entry& entry, std::ostream* stream)
{
    *stream << std::string(entry.account.begin(), entry.account.end()) << "=0x" << std::hex << entry.mask;
}

std::wstring AccountText(PSID account)
{
    wchar_t* text = nullptr;
    if (!ConvertSidToStringSidW(account, &text))
    {
        return L"?";
    }
    const VzCommon::LocalMemory owner(text);
    return text;
}

// The entries of the access list in their order; one that is no plain allowing entry has the account "?".
Entries EntriesOf(PSECURITY_DESCRIPTOR descriptor)
{
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    ACL* list = nullptr;
    Entries entries;
    if (!GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted) || !present || list == nullptr)
    {
        return entries;
    }
    void* found = nullptr;
    for (DWORD i = 0; i < list->AceCount && GetAce(list, i, &found); ++i)
    {
        auto* entry = static_cast<ACCESS_ALLOWED_ACE*>(found);
        const bool plain = entry->Header.AceType == ACCESS_ALLOWED_ACE_TYPE && entry->Header.AceFlags == 0;
        entries.push_back({plain ? AccountText(&entry->SidStart) : L"?", entry->Mask});
    }
    return entries;
}

Entries EntriesOfObject(HANDLE object)
{
    DWORD size = 0;
    GetKernelObjectSecurity(object, DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    std::vector<BYTE> descriptor(size);
    if (!GetKernelObjectSecurity(object, DACL_SECURITY_INFORMATION, descriptor.data(), size, &size))
    {
        ADD_FAILURE() << "GetKernelObjectSecurity: " << GetLastError();
        return {};
    }
    return EntriesOf(descriptor.data());
}

struct Row
{
    std::uint32_t kind;
    ACCESS_MASK masks[7];
};

// Keeps the bytes of the record out of the names of the tests.
void PrintTo(const Row& row, std::ostream* stream)
{
    *stream << row.kind;
}

const Row rows[] = {
    {0, {0x13013F, 0x12002F, 0x13013F, 0x120029, 0x120029, 0x120029, 0x1F01FF}},
    {1, {0x1100C7, 0x100087, 0x1100C7, 0x100081, 0x100081, 0x100081, 0x1F01FF}},
    {2, {0x101F7, 0x18D, 0x1F5, 0x185, 0x185, 0x185, 0xF01FF}},
    {4, {0x1003F, 0x3F, 0x1003F, 0x20009, 0x20009, 0x20009, 0xF003F}},
    {5, {0x100FFB, 0x100E92, 0x100FFB, 0x100410, 0x100410, 0x100410, 0x1F0FFF}},
    {6, {0x1000FB, 0x10006A, 0x1000FB, 0x100048, 0x100048, 0x100048, 0x1F03FB}},
    {9, {0x100002, 0x100002, 0x100002, 0x100002, 0x100002, 0x100002, 0x100002}},
    {10, {0x1F0003, 0x1F0003, 0x1F0003, 0x1F0003, 0x1F0003, 0x1F0003, 0x1F0003}},
    {11, {0x100001, 0x100001, 0x100001, 0x100001, 0x100001, 0x100001, 0x100001}},
    {12, {0x1F0001, 0x1F0001, 0x1F0001, 0x1F0001, 0x1F0001, 0x1F0001, 0x1F0001}},
    {19, {0x1F01FF, 0x1F01FF, 0x1F01FF, 0x12019F, 0x12019F, 0x12019F, 0x1F01FF}},
};

Entries ExpectedEntries(std::uint32_t kind)
{
    static const wchar_t* const accounts[] = {L"S-1-5-32-544", L"S-1-5-32-547", L"S-1-5-18", L"S-1-5-11",
                                              L"S-1-5-32-545", L"S-1-5-4",      L"S-1-3-0"};
    Entries entries;
    for (const Row& row : rows)
    {
        for (size_t i = 0; row.kind == kind && i < std::size(accounts); ++i)
        {
            entries.push_back({accounts[i], row.masks[i]});
        }
    }
    return entries;
}

bool IsZeroed(const SECURITY_ATTRIBUTES& attributes)
{
    return attributes.nLength == 0 && attributes.lpSecurityDescriptor == nullptr &&
           !attributes.bInheritHandle;
}

unsigned __stdcall EndAtOnce(void* /*argument*/)
{
    return 0;
}

class SecurityAttributesKindTest : public testing::TestWithParam<Row>
{
};

} // namespace

TEST_P(SecurityAttributesKindTest, GivesSevenAccountsTheirMasks)
{
    const std::uint32_t kind = GetParam().kind;
    SecurityAttributes attributes(kind, false);
    EXPECT_EQ(attributes.nLength, 24U);
    EXPECT_EQ(attributes.bInheritHandle, FALSE);
    EXPECT_EQ(attributes.GetKind(), kind);
    EXPECT_EQ(attributes.ForCreation(), &attributes);
    ASSERT_NE(attributes.lpSecurityDescriptor, nullptr);
    EXPECT_EQ(EntriesOf(attributes.lpSecurityDescriptor), ExpectedEntries(kind));
}

TEST_P(SecurityAttributesKindTest, HasAnAccessListAndNothingElse)
{
    SecurityAttributes attributes(GetParam().kind, true);
    EXPECT_EQ(attributes.bInheritHandle, TRUE);
    PSECURITY_DESCRIPTOR descriptor = attributes.lpSecurityDescriptor;
    ASSERT_TRUE(IsValidSecurityDescriptor(descriptor));

    BOOL present = FALSE;
    BOOL defaulted = TRUE;
    ACL* list = nullptr;
    PSID account = nullptr;
    EXPECT_TRUE(GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted));
    EXPECT_TRUE(present);
    EXPECT_FALSE(defaulted);
    EXPECT_TRUE(GetSecurityDescriptorSacl(descriptor, &present, &list, &defaulted));
    EXPECT_FALSE(present);
    EXPECT_TRUE(GetSecurityDescriptorOwner(descriptor, &account, &defaulted));
    EXPECT_EQ(account, nullptr);
    EXPECT_TRUE(GetSecurityDescriptorGroup(descriptor, &account, &defaulted));
    EXPECT_EQ(account, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Kinds, SecurityAttributesKindTest, testing::ValuesIn(rows),
                         [](const testing::TestParamInfo<Row>& row)
                         { return std::to_string(row.param.kind); });

TEST(SecurityAttributesTest, AreZeroedForEveryOtherKind)
{
    for (const std::uint32_t kind : {3U, 7U, 8U, 13U, 17U, 18U, 20U, 0xFFFFFFFFU})
    {
        SecurityAttributes attributes(kind, true);
        EXPECT_TRUE(IsZeroed(attributes)) << kind;
        EXPECT_EQ(attributes.GetKind(), kind);
    }
}

TEST(SecurityAttributesTest, OfKind18AloneBecomeNull)
{
    for (const std::uint32_t kind : {3U, 7U, 8U, 4711U})
    {
        SecurityAttributes attributes(kind, false);
        EXPECT_EQ(attributes.ForCreation(), &attributes) << kind;
    }
    SecurityAttributes none(18, false);
    EXPECT_EQ(none.ForCreation(), nullptr);
}

TEST(SecurityAttributesTest, AreAcceptedBySystemWhenZeroed)
{
    SecurityAttributes attributes(3, false);
    const KernelHandle event(CreateEventW(attributes.ForCreation(), TRUE, FALSE, nullptr));
    EXPECT_TRUE(static_cast<bool>(event));
}

TEST(SecurityAttributesTest, AreZeroedWhenTheListCannotBeSet)
{
    const ImportPatch patch(
        nullptr, "SetSecurityDescriptorDacl",
        +[](PSECURITY_DESCRIPTOR, BOOL, ACL*, BOOL) WINAPI
        {
            SetLastError(ERROR_INVALID_ACL);
            return FALSE;
        });
    SecurityAttributes attributes(10, true);
    EXPECT_TRUE(IsZeroed(attributes));
    EXPECT_EQ(attributes.GetKind(), 10U);
}

TEST(SecurityAttributesTest, ReadBackFromEvents)
{
    VzCommon::Synchronize::Event event;
    ASSERT_TRUE(event.CreateGlobal(UniqueName(L"SecurityAttributesTest"), true, true, false, nullptr));
    EXPECT_EQ(EntriesOfObject(event.Handle()), ExpectedEntries(9));
    VzCommon::Synchronize::Event shared;
    ASSERT_TRUE(shared.CreateMultipleGlobal(UniqueName(L"SecurityAttributesTest").c_str(), nullptr));
    EXPECT_EQ(EntriesOfObject(shared.Handle()), ExpectedEntries(10));
}

TEST(SecurityAttributesTest, ReadBackFromMutexes)
{
    VzCommon::Synchronize::Mutex mutex;
    ASSERT_TRUE(mutex.CreateLocal(UniqueName(L"SecurityAttributesTest"), true, true, nullptr));
    EXPECT_EQ(EntriesOfObject(mutex.Handle()), ExpectedEntries(11));
    VzCommon::Synchronize::Mutex shared;
    ASSERT_TRUE(shared.CreateLocal(UniqueName(L"SecurityAttributesTest"), false, false, nullptr));
    EXPECT_EQ(EntriesOfObject(shared.Handle()), ExpectedEntries(12));
}

TEST(SecurityAttributesTest, ReadBackFromAThread)
{
    SecurityAttributes attributes(6, false);
    const KernelHandle thread(reinterpret_cast<HANDLE>(
        _beginthreadex(attributes.ForCreation(), 0, &EndAtOnce, nullptr, 0, nullptr)));
    ASSERT_TRUE(static_cast<bool>(thread));
    EXPECT_EQ(EntriesOfObject(thread.Get()), ExpectedEntries(6));
}

TEST(SecurityAttributesTest, ReadBackFromAProcess)
{
    SecurityAttributes attributes(5, false);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    wchar_t commandLine[] = L"cmd.exe /c exit";
    ASSERT_TRUE(CreateProcessW(nullptr, commandLine, attributes.ForCreation(), nullptr, FALSE, 0, nullptr,
                               nullptr, &startup, &process));
    const KernelHandle processHandle(process.hProcess);
    const KernelHandle threadHandle(process.hThread);
    EXPECT_EQ(EntriesOfObject(processHandle.Get()), ExpectedEntries(5));
    WaitForSingleObject(processHandle.Get(), INFINITE);
}

TEST(SecurityAttributesTest, ReadBackFromARegistryKey)
{
    const TestSupport::TempRegistry registry;
    SecurityAttributes attributes(4, false);
    VzCommon::RegistryKey key;
    ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"Rights", 0, nullptr, 0, KEY_READ | WRITE_DAC,
                              attributes.ForCreation(), key.Put(), nullptr),
              0);
    // Once more, for systems that ignore the rights when a key is made.
    ASSERT_EQ(RegSetKeySecurity(key.Get(), DACL_SECURITY_INFORMATION, attributes.lpSecurityDescriptor), 0);
    DWORD size = 0;
    RegGetKeySecurity(key.Get(), DACL_SECURITY_INFORMATION, nullptr, &size);
    std::vector<BYTE> descriptor(size);
    ASSERT_EQ(RegGetKeySecurity(key.Get(), DACL_SECURITY_INFORMATION, descriptor.data(), &size), 0);
    EXPECT_EQ(EntriesOf(descriptor.data()), ExpectedEntries(4));
}

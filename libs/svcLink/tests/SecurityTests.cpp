#include "LinkTest.h"

#include "Names.h"
#include "Processes.h"
#include "QxCommon_utility.h"
#include "VzComn_Handle.h"
#include "WaitUntil.h"

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include <optional>

using TestSupport::WaitUntil;

namespace
{

constexpr auto accessDenied = static_cast<std::int32_t>(0xE0FE0005);

// In place of what the mark wrote.
void Rewrite(const TestSupport::TempRegistry& registry, DWORD processId, std::uint64_t created)
{
    const std::wstring key = QxCommon::GetProductRegistryKey();
    registry.SetDword(HKEY_LOCAL_MACHINE, key, SvcLink::ConsoleHostValue, processId);
    registry.SetValue(HKEY_LOCAL_MACHINE, key, SvcLink::ConsoleHostTimeValue, REG_QWORD, &created,
                      sizeof created);
}

bool EndpointExists()
{
    return WaitNamedPipeW(SvcLink::EndpointName().c_str(), 1) || GetLastError() != ERROR_FILE_NOT_FOUND;
}

class SquatterTest : public LinkTest
{
protected:
    SquatterTest() : squatter(Beside(L"Squatter.exe") + L" \"" + SvcLink::EndpointName() + L"\"")
    {
        EXPECT_TRUE(WaitUntil([] { return EndpointExists(); }));
    }

    Process squatter;
};

} // namespace

TEST_F(SquatterTest, GetsNoByteOfAClient)
{
    const Manager manager = Connect();
    EXPECT_TRUE(WaitUntil([&] { return squatter.ExitCode() != STILL_ACTIVE; }));
    EXPECT_EQ(squatter.ExitCode(), 0U);
}

TEST_F(LinkTest, AnEndpointOfAnotherProcessIsRefused)
{
    const Manager manager = Connect();
    StartServer();
    Rewrite(registry, GetCurrentProcessId() + 4, 1);
    EXPECT_EQ(Execute(*manager, 0x2051, {}).status, accessDenied);
    EXPECT_TRUE(handler.Connected().empty());
}

TEST_F(SquatterTest, KeepsTheServiceFromStarting)
{
    std::uint32_t error = 0;
    EXPECT_FALSE(server.Start(error));
    EXPECT_EQ(error, static_cast<std::uint32_t>(ERROR_ACCESS_DENIED));
    squatter.Kill();
    EXPECT_TRUE(server.Start(error));
}

TEST_F(LinkTest, AHostWhoseProcessIdWasUsedAgainIsNotTrusted)
{
    StartServer();
    Rewrite(registry, GetCurrentProcessId(), 12345);
    EXPECT_EQ(Execute(*Connect(), 0x2051, {}).status, accessDenied);
    Rewrite(registry, GetCurrentProcessId(), 0);
    EXPECT_EQ(Execute(*Connect(), 0x2051, {}).status, accessDenied);
}

TEST_F(LinkTest, AMarkGoesWithItsObject)
{
    std::optional<SvcLink::ConsoleHostMark> second(std::in_place);
    std::uint32_t error = 0;
    EXPECT_TRUE(second->Set(error));
    StartServer();
    EXPECT_EQ(Execute(*Connect(), 0x2051, {}).status, success);
    second.reset();
    EXPECT_EQ(Execute(*Connect(), 0x2051, {}).status, accessDenied);
}

TEST_F(LinkTest, ASecondServerOfTheSameProductDoesNotStart)
{
    StartServer();
    SvcLink::Server second(handler);
    std::uint32_t error = 0;
    EXPECT_FALSE(second.Start(error));
    EXPECT_EQ(error, static_cast<std::uint32_t>(ERROR_ACCESS_DENIED));
}

TEST_F(LinkTest, UsersMayCallButMakeNoInstanceOfThePipe)
{
    StartServer();
    const VzCommon::FileHandle pipe(
        CreateFileW(SvcLink::EndpointName().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(pipe);
    VzCommon::LocalMemory descriptor;
    PACL list = nullptr;
    ASSERT_EQ(GetSecurityInfo(pipe.Get(), SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                              &list, nullptr, descriptor.Put()),
              static_cast<DWORD>(ERROR_SUCCESS));
    VzCommon::LocalMemory text;
    ASSERT_TRUE(ConvertSecurityDescriptorToStringSecurityDescriptorW(
        descriptor.Get(), SDDL_REVISION_1, DACL_SECURITY_INFORMATION, reinterpret_cast<wchar_t**>(text.Put()),
        nullptr));
    const std::wstring rights = static_cast<const wchar_t*>(text.Get());
    EXPECT_NE(rights.find(L";;;NU)"), std::wstring::npos) << text.Get();
    EXPECT_NE(rights.find(L"(A;;0x12019b;;;IU)"), std::wstring::npos);
    EXPECT_EQ(rights.find(L";;;WD)"), std::wstring::npos);
}

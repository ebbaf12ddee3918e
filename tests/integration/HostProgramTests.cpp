// The options of the host service's program, under the true service manager.
#include "HostProgram.h"

#include "VzComn_Service.h"
#include "WaitUntil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace
{
using testing::HasSubstr;

constexpr wchar_t serviceName[] = L"Brisketta Host Service";
constexpr wchar_t productKey[] = L"SOFTWARE\\NorvaneSoft\\Brisketta";
constexpr wchar_t exitEventName[] = L"Global\\WATCHDOG_NOTIFY_UIDESKTRAY_EXITBrisketta";

class HostProgramTest : public testing::Test
{
protected:
    void Expect(const std::wstring& option, DWORD code, const char* text)
    {
        const HostProgram::Ended ended = program.Run(option);
        EXPECT_EQ(ended.code, code) << ended.output;
        EXPECT_THAT(ended.output, HasSubstr(text));
    }

    static DWORD ServiceState()
    {
        SERVICE_STATUS status{};
        VzCommon::Service::Base service;
        if (!service.Connect(VzCommon::Service::ConnectMode::Read, nullptr) ||
            !service.Open(serviceName, SERVICE_QUERY_STATUS, nullptr))
        {
            return 0;
        }
        return service.QueryStatus(status, nullptr) ? status.dwCurrentState : 0;
    }

    static std::uint32_t MarkedProcess()
    {
        DWORD processId = 0;
        DWORD size = sizeof(processId);
        RegGetValueW(HKEY_LOCAL_MACHINE, productKey, L"ConsoleHost", RRF_RT_REG_DWORD, nullptr, &processId,
                     &size);
        return processId;
    }

    const HostProgram program{L"QxSvcHost_B.exe"};
};
} // namespace

TEST_F(HostProgramTest, InstallsStartsStopsAndRemovesTheServiceTwice)
{
    for (int round = 0; round < 2; ++round)
    {
        Expect(L"--install", 0, "\"Brisketta Host Service\" is installed");
        EXPECT_EQ(ServiceState(), static_cast<DWORD>(SERVICE_STOPPED));
        Expect(L"--start", 0, "is running");
        EXPECT_EQ(ServiceState(), static_cast<DWORD>(SERVICE_RUNNING));
        Expect(L"--stop", 0, "has stopped");
        EXPECT_EQ(ServiceState(), static_cast<DWORD>(SERVICE_STOPPED));
        Expect(L"--uninstall", 0, "is removed");
        EXPECT_EQ(ServiceState(), 0U);
    }
}

TEST_F(HostProgramTest, TellsWhatIsOutOfOrder)
{
    Expect(L"--start", 5, "is not installed");
    Expect(L"--stop", 5, "is not installed");
    Expect(L"--uninstall", 5, "is not installed");
    Expect(L"--install", 0, "is installed");
    Expect(L"--install", 4, "is installed already");
    Expect(L"--stop", 7, "is not running");
    Expect(L"--start", 0, "is running");
    Expect(L"--start", 6, "is running already");
    Expect(L"--console", 9, "Another process owns the endpoint");
    Expect(L"--uninstall", 0, "is removed");
    EXPECT_EQ(ServiceState(), 0U);
    Expect(L"--start", 5, "is not installed");
}

TEST_F(HostProgramTest, TellsWhatItIsGivenWrongly)
{
    Expect(L"--help", 0, "--uninstall");
    Expect(L"--unknown", 2, "Unknown option --unknown");
    Expect(L"--start --stop", 2, "One option at most");
    Expect(L"", 11, "started by the service manager");
    const HostProgram nobody(L"QxSvcHost_X.exe");
    const HostProgram::Ended ended = nobody.Run(L"--install");
    EXPECT_EQ(ended.code, 10U);
    EXPECT_THAT(ended.output, HasSubstr("belongs to no product"));
}

TEST_F(HostProgramTest, IsInstalledWithAQuotedPathAndStartedOnDemand)
{
    Expect(L"--install", 0, "is installed");
    const VzCommon::ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    const VzCommon::ServiceHandle service(OpenServiceW(manager.Get(), serviceName, SERVICE_QUERY_CONFIG));
    alignas(QUERY_SERVICE_CONFIGW) std::array<BYTE, 8192> buffer{};
    DWORD size = 0;
    auto* config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.data());
    ASSERT_TRUE(QueryServiceConfigW(service.Get(), config, buffer.size(), &size)) << GetLastError();
    EXPECT_EQ(config->lpBinaryPathName, L'"' + program.Path() + L'"');
    EXPECT_EQ(config->dwStartType, static_cast<DWORD>(SERVICE_DEMAND_START));
}

TEST_F(HostProgramTest, IsRunInTheForegroundUntilTheProductsExitEvent)
{
    const VzCommon::KernelHandle process = program.Begin(L"--console");
    EXPECT_TRUE(TestSupport::WaitUntil([&] { return MarkedProcess() == GetProcessId(process.Get()); }));
    Expect(L"--console", 9, "Another process owns the endpoint");
    EXPECT_EQ(MarkedProcess(), GetProcessId(process.Get()));
    VzCommon::KernelHandle exitEvent;
    ASSERT_TRUE(TestSupport::WaitUntil(
        [&]
        {
            exitEvent.Reset(OpenEventW(EVENT_MODIFY_STATE, FALSE, exitEventName));
            return static_cast<bool>(exitEvent);
        }));
    SetEvent(exitEvent.Get());
    EXPECT_EQ(WaitForSingleObject(process.Get(), 30'000), static_cast<DWORD>(WAIT_OBJECT_0));
    DWORD code = 1;
    EXPECT_TRUE(GetExitCodeProcess(process.Get(), &code));
    EXPECT_EQ(code, 0U);
    EXPECT_EQ(MarkedProcess(), 0U);
}

TEST_F(HostProgramTest, TellsThatTheEndpointIsTakenWhenTheServiceStarts)
{
    const VzCommon::KernelHandle process = program.Begin(L"--console");
    EXPECT_TRUE(TestSupport::WaitUntil([&] { return MarkedProcess() == GetProcessId(process.Get()); }));
    Expect(L"--install", 0, "is installed");
    Expect(L"--start", 9, "another process owns the endpoint");
    TerminateProcess(process.Get(), 1);
    WaitForSingleObject(process.Get(), 30'000);
    Expect(L"--start", 0, "is running");
}

TEST_F(HostProgramTest, IsStartedAgainAfterItsProcessWasKilled)
{
    Expect(L"--install", 0, "is installed");
    Expect(L"--start", 0, "is running");
    const VzCommon::ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    const VzCommon::ServiceHandle service(OpenServiceW(manager.Get(), serviceName, SERVICE_QUERY_STATUS));
    SERVICE_STATUS_PROCESS status{};
    DWORD size = 0;
    ASSERT_TRUE(QueryServiceStatusEx(service.Get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                                     sizeof(status), &size));
    const VzCommon::KernelHandle process(
        OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, status.dwProcessId));
    TerminateProcess(process.Get(), 1);
    WaitForSingleObject(process.Get(), 30'000);
    Expect(L"--stop", 7, "is not running");
    Expect(L"--start", 0, "is running");
}

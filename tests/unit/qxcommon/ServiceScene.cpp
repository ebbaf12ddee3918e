#include "ServiceScene.h"

#include <sddl.h>

using VzCommon::KernelHandle;

namespace
{

constexpr DWORD second = 1000;

struct Clock
{
    void(WINAPI* sleep)(DWORD) = nullptr;
    DWORD milliseconds = 0;
    size_t seconds = 0;
    std::function<void()> action;
} g_clock;

// Everything else that sleeps in this program does so in earnest.
void WINAPI SleepFaster(DWORD milliseconds)
{
    if (milliseconds != second)
    {
        g_clock.sleep(milliseconds);
        return;
    }
    ++g_clock.seconds;
    if (g_clock.action)
    {
        g_clock.action();
    }
    g_clock.sleep(g_clock.milliseconds);
    SetLastError(ERROR_INVALID_DATA); // a sleep may leave anything
}

} // namespace

ServiceScene::ServiceScene() : m_sleep(nullptr, "Sleep", &SleepFaster)
{
    g_clock = {m_sleep.Original<void WINAPI(DWORD)>(), 50, 0, {}};
}

ServiceScene::~ServiceScene()
{
    g_clock.action = {};
}

void ServiceScene::Install(const std::wstring& mode, DWORD startType)
{
    service.emplace(QxCommon::GetServiceName(), mode, startType);
}

void ServiceScene::InstallRunning(const std::wstring& mode)
{
    Install(mode);
    service->Start();
    ASSERT_TRUE(service->Reaches(SERVICE_RUNNING));
}

void ServiceScene::InstallStopPending()
{
    InstallRunning(L"slow-stop 300");
    service->Stop();
    ASSERT_EQ(service->State(), static_cast<DWORD>(SERVICE_STOP_PENDING));
}

void ServiceScene::PlayWatchdog(const std::wstring& eventName, std::function<void()> answer)
{
    ASSERT_TRUE(event.CreateGlobal(eventName, false, false, false, nullptr));
    InEachSecond(
        [this, answer = std::move(answer)]
        {
            if (IsSignalled())
            {
                answer();
            }
        });
}

void ServiceScene::ForbidToSignal(const std::wstring& eventName)
{
    SECURITY_ATTRIBUTES attributes{sizeof(attributes), nullptr, FALSE};
    ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(
        L"D:(A;;0x100001;;;WD)", SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr));
    m_forbidden.Reset(CreateEventW(&attributes, FALSE, FALSE, eventName.c_str()));
    const VzCommon::LocalMemory memory(attributes.lpSecurityDescriptor);
    ASSERT_TRUE(m_forbidden);
}

bool ServiceScene::IsSignalled() const
{
    return WaitForSingleObject(event.Handle(), 0) == WAIT_OBJECT_0;
}

std::vector<std::wstring> ServiceScene::Lines() const
{
    std::vector<std::wstring> lines;
    for (const TestSupport::LogMessage& message : m_log.Messages())
    {
        lines.push_back(message.tag + L' ' + message.text);
    }
    return lines;
}

size_t ServiceScene::Seconds() const
{
    return g_clock.seconds;
}

void ServiceScene::InEachSecond(std::function<void()> action)
{
    g_clock.action = std::move(action);
}

void ServiceScene::LetSecondsLast(DWORD milliseconds)
{
    g_clock.milliseconds = milliseconds;
}

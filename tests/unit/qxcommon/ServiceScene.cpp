#include "ServiceScene.h"

#include <sddl.h>

using VzCommon::KernelHandle;

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
    seconds.InEach(
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

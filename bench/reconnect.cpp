// From the death of the host service's process until the agent is registered with the next one, which is up
// before the agent asks for it. What the agent adds to its fixed wait of half a second counts.
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "ControlClient.h"
#include "ControlMails.h"
#include "HostService.h"
#include "QxCommon_JsonDb.h"

namespace
{
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int rounds = 20;
constexpr double fixedWait = 500;
constexpr std::chrono::seconds limit(30);

// The only client's mails to the service; -1 while none is registered with a service that answers.
int MailsOfClient()
{
    ControlClient client;
    const MailAnswer answer = client.Mail(Control::PluginId, Control::Status, L"{}", std::chrono::seconds(5));
    QxCommon::JsonDb status;
    if (answer.Failed() || status.ParseFromString(answer.json) != 0 || status[L"clients"].Size() != 1)
    {
        return -1;
    }
    return IntOrZero(status[L"clients"][0U][L"mails"]);
}

bool IsRegistered()
{
    return MailsOfClient() >= 0;
}

// It has asked for the service's process: from then on it hears of the death.
bool IsWatching()
{
    return MailsOfClient() > 0;
}

bool WaitUntil(bool (*condition)())
{
    const Clock::time_point end = Clock::now() + limit;
    while (!condition())
    {
        if (Clock::now() > end)
        {
            return false;
        }
        Sleep(1);
    }
    return true;
}

// Milliseconds; negative when the agent does not come back.
double ReconnectOnce(HostService& service)
{
    constexpr DWORD answerArrives = 100; // milliseconds
    if (!WaitUntil(&IsWatching))
    {
        return -1;
    }
    Sleep(answerArrives);
    if (!service.Kill())
    {
        return -1;
    }
    const Clock::time_point death = Clock::now();
    if (!service.StartAgain() || !WaitUntil(&IsRegistered))
    {
        return -1;
    }
    return Milliseconds(Clock::now() - death).count();
}

int Measure(HostService& service)
{
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round)
    {
        times.push_back(ReconnectOnce(service));
        if (times.back() < 0)
        {
            std::printf("the agent does not come back\n");
            return 1;
        }
    }
    std::sort(times.begin(), times.end());
    const double median = times[times.size() / 2];
    std::printf("death of the service to registration, median %8.1f ms\n", median);
    std::printf("                                      worst  %8.1f ms\n", times.back());
    std::printf("beyond the fixed wait of %.0f ms, median      %8.1f ms\n", fixedWait, median - fixedWait);
    return 0;
}
} // namespace

int main()
{
    HostService service(QX_STAGE);
    const VzCommon::KernelHandle agent = StartProgram(QX_STAGE L"/QxSessionAgent_M.exe", L"");
    if (!service.IsReady() || !agent || LoadLink(QX_STAGE) < 0 || !WaitUntil(&IsRegistered))
    {
        std::printf("service and agent do not come up\n");
        return 1;
    }
    const int result = Measure(service);
    TerminateProcess(agent.Get(), 0);
    return result;
}

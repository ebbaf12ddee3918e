// What it takes the agent to leave the service's link at a lock and to come back at an unlock, beside the
// bare sum of the requests in them: a client in a process of its own sends the same ones to the same service,
// one behind the other. Both are told by a window message and measured from outside, until it has been dealt
// with. By then a lock has ended the link, and an unlock has registered the agent and has had the answer to
// event 16. The client measures its requests from inside as well. All take turns, each behind the same pause;
// the median counts.
//
//     bench_session_M.exe        all of it; the client is this program again
//     bench_session_M.exe bare   the client
#include <windows.h>

#include <wtsapi32.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

#include "BareClient.h"
#include "MessageIds.h"
#include "RunningAgent.h"
#include "Stopwatch.h"

namespace
{
constexpr int rounds = 100;

// Milliseconds: the service and the threads of both clients are at rest then.
constexpr DWORD pause = 20;

std::wstring SessionEvent(int eventId)
{
    DWORD session = 0;
    ProcessIdToSessionId(GetCurrentProcessId(), &session);
    return L"{\"eventId\":" + std::to_wstring(eventId) + L",\"winSessionId\":" + std::to_wstring(session) +
           L"}";
}

// The requests of a lock and an unlock.
class BareSession
{
public:
    [[nodiscard]] bool Lock()
    {
        const bool answered = m_client->Mail(Plugin::EventCenter, Mail::Event, m_leaving) &&
                              m_client->Unregister() && m_client->EraseCallbacks();
        m_client.reset();
        return answered;
    }

    [[nodiscard]] bool Unlock()
    {
        m_client = std::make_unique<BareClient>();
        return m_client->Register() && m_client->Mail(Plugin::EventCenter, Mail::Event, m_coming);
    }

private:
    const std::wstring m_leaving = SessionEvent(17);
    const std::wstring m_coming = SessionEvent(16);
    std::unique_ptr<BareClient> m_client;
};

// The client's window: it is told like the agent's, and answers with the microseconds that the requests took.
constexpr wchar_t bareWindow[] = L"bench_session bare client";
constexpr UINT bareLock = WM_APP + 1;
constexpr UINT bareUnlock = WM_APP + 2;

LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    static BareSession session;
    if (message != bareLock && message != bareUnlock)
    {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    const LARGE_INTEGER begin = Now();
    const bool answered = message == bareLock ? session.Lock() : session.Unlock();
    const double elapsed = Milliseconds(begin, Now());
    return answered ? static_cast<LRESULT>(elapsed * 1000) : -1;
}

int RunBareClient()
{
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = Receive;
    windowClass.lpszClassName = bareWindow;
    RegisterClassW(&windowClass);
    if (LoadLink(QX_STAGE) < 0 ||
        CreateWindowW(bareWindow, L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr) == nullptr)
    {
        return 1;
    }
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
    {
        DispatchMessageW(&message);
    }
    return 0;
}

// What is measured answers with milliseconds, negative if it fails.
struct Action
{
    std::function<double()> run;
    std::vector<double> times;
};

bool RunOnce(Action& action)
{
    Sleep(pause);
    action.times.push_back(action.run());
    return action.times.back() >= 0;
}

double Tell(HWND frame, UINT message, WPARAM state)
{
    const LARGE_INTEGER begin = Now();
    const bool isTaken = SendMessageW(frame, message, state, 1) == 0;
    return isTaken ? Milliseconds(begin, Now()) : -1;
}

// Keeps the milliseconds from inside.
double TellBareClient(HWND window, UINT message, std::vector<double>& requests)
{
    const LARGE_INTEGER begin = Now();
    const LRESULT microseconds = SendMessageW(window, message, 0, 0);
    const double elapsed = Milliseconds(begin, Now());
    requests.push_back(static_cast<double>(microseconds) / 1000);
    return microseconds >= 0 ? elapsed : -1;
}

// That the notices do what is measured.
bool IsObeyed(RunningAgent& agent)
{
    Tell(agent.Frame(), WM_WTSSESSION_CHANGE, WTS_SESSION_LOCK);
    const bool left = !agent.IsRegistered();
    Tell(agent.Frame(), WM_WTSSESSION_CHANGE, WTS_SESSION_UNLOCK);
    return left && agent.IsRegistered();
}

void Print(const char* what, const Action& agent, const Action& bare, const std::vector<double>& requests)
{
    const double ours = Median(agent.times);
    const double peer = Median(bare.times);
    std::printf("%s: agent %.2f ms, bare client %.2f ms, ratio %.2f; the requests alone %.2f ms\n", what,
                ours, peer, ours / peer, Median(requests));
}

bool Measure(HWND frame, HWND client)
{
    std::vector<double> ofLock;
    std::vector<double> ofUnlock;
    Action lock{[=] { return Tell(frame, WM_WTSSESSION_CHANGE, WTS_SESSION_LOCK); }, {}};
    Action unlock{[=] { return Tell(frame, WM_WTSSESSION_CHANGE, WTS_SESSION_UNLOCK); }, {}};
    Action unlockBare{[client, &ofUnlock] { return TellBareClient(client, bareUnlock, ofUnlock); }, {}};
    Action lockBare{[client, &ofLock] { return TellBareClient(client, bareLock, ofLock); }, {}};
    Action notice{[=] { return Tell(frame, WM_NULL, 0); }, {}};
    Action* const orders[][5] = {{&lock, &unlockBare, &unlock, &lockBare, &notice},
                                 {&unlockBare, &lock, &lockBare, &unlock, &notice}};
    for (int round = 0; round < rounds; ++round)
    {
        for (Action* const action : orders[round % 2])
        {
            if (!RunOnce(*action))
            {
                return false;
            }
        }
    }
    Print("lock to the end of the link", lock, lockBare, ofLock);
    Print("unlock to the registration and event 16", unlock, unlockBare, ofUnlock);
    std::printf("a notice that does nothing: %.2f ms\n", Median(notice.times));
    return true;
}

HWND WaitForClient()
{
    constexpr ULONGLONG limit = 30000; // milliseconds
    const ULONGLONG end = GetTickCount64() + limit;
    HWND window = nullptr;
    while ((window = FindWindowW(bareWindow, nullptr)) == nullptr && GetTickCount64() < end)
    {
        Sleep(10);
    }
    return window;
}

int MeasureAll()
{
    RunningAgent agent(QX_STAGE);
    const VzCommon::KernelHandle process = StartProgram(OwnFolder() + L"bench_session_M.exe", L"bare");
    const HWND client = WaitForClient();
    const bool isReady = agent.IsReady() && client != nullptr && IsObeyed(agent);
    const bool isMeasured = isReady && Measure(agent.Frame(), client);
    if (!isMeasured)
    {
        std::printf(isReady ? "a request failed\n" : "service, agent and client do not come up\n");
    }
    TerminateProcess(process.Get(), 0);
    return isMeasured ? 0 : 1;
}
} // namespace

int main(int count, char** /*arguments*/)
{
    return count > 1 ? RunBareClient() : MeasureAll();
}

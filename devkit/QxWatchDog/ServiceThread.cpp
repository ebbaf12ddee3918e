#include "ServiceThread.h"

#include <windows.h>

#include <array>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "Milliseconds.h"
#include "ServiceKeeper.h"
#include "VzComn_Handle.h"

namespace WatchDog
{
namespace
{
using VzCommon::KernelHandle;

constexpr DWORD endLimitMs = 2000;

enum class Wish
{
    Running,
    Stopped,
    EndStopped,
    End,
};
} // namespace

// Any thread, but for Run.
class ServiceThread::State
{
public:
    explicit State(const std::wstring& name) : m_keeper(name) {}

    void Tell(Wish wish)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_wish = wish;
        }
        SetEvent(m_wake.Get());
    }

    // The thread's work, from the first wish until the end is wished.
    void Run()
    {
        WaitForSingleObject(m_wake.Get(), INFINITE);
        while (TakeWish())
        {
            const auto next = m_keeper.Step(Clock::now());
            if (m_endsStopped && m_keeper.IsContent())
            {
                break;
            }
            const HANDLE process = m_keeper.Process();
            const std::array handles{m_wake.Get(), process};
            const DWORD count = process == nullptr ? 1 : 2;
            const DWORD timeout = next ? Milliseconds(*next) : INFINITE;
            if (WaitForMultipleObjects(count, handles.data(), FALSE, timeout) == WAIT_OBJECT_0 + 1)
            {
                m_keeper.OnProcessEnd();
            }
        }
        SetEvent(m_ended.Get());
    }

    void WaitForEnd() const { WaitForSingleObject(m_ended.Get(), endLimitMs); }

    // False if the time is over or the event comes first.
    [[nodiscard]] bool WaitForEnd(DWORD limitMs, HANDLE giveUp) const
    {
        const std::array handles{m_ended.Get(), giveUp};
        return WaitForMultipleObjects(2, handles.data(), FALSE, limitMs) == WAIT_OBJECT_0;
    }

private:
    // False if the end is wished.
    bool TakeWish()
    {
        const std::lock_guard lock(m_mutex);
        if (m_wish == Wish::Running)
        {
            m_keeper.WantRunning();
        }
        else if (m_wish == Wish::Stopped || m_wish == Wish::EndStopped)
        {
            m_endsStopped = m_wish == Wish::EndStopped;
            m_keeper.WantStopped();
        }
        return std::exchange(m_wish, std::nullopt) != Wish::End;
    }

    std::mutex m_mutex;
    std::optional<Wish> m_wish;
    KernelHandle m_wake{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    KernelHandle m_ended{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    ServiceKeeper m_keeper; // of the thread alone, as the next
    bool m_endsStopped = false;
};

ServiceThread::ServiceThread(const std::wstring& name) : m_state(std::make_shared<State>(name))
{
    std::thread([state = m_state] { state->Run(); }).detach();
}

ServiceThread::~ServiceThread()
{
    m_state->Tell(Wish::End);
    m_state->WaitForEnd();
}

void ServiceThread::WantRunning()
{
    m_state->Tell(Wish::Running);
}

void ServiceThread::WantStopped()
{
    m_state->Tell(Wish::Stopped);
}

bool ServiceThread::EndStopped(std::chrono::milliseconds limit, HANDLE giveUp)
{
    m_state->Tell(Wish::EndStopped);
    return m_state->WaitForEnd(Milliseconds(limit), giveUp);
}

} // namespace WatchDog

#pragma once

#include "SlimLock.h"

#include <cstdint>

namespace SvcLink
{

// Which of the server's threads waits at the completion port: one at a time. It leaves the port with what it
// got, does the work itself, and comes back; only if that takes longer than a moment another one takes its
// place. So a row of short calls is served by one thread, without waking others. Any thread.
class PortTurns
{
public:
    // Waits until it is the calling thread's turn. False if the thread is to end: nothing was left to do for
    // it for a while, or Quit was called.
    [[nodiscard]] bool Take();

    // The calling thread leaves the port. False if no other thread is there to take its place.
    [[nodiscard]] bool Leave();

    // Whether a thread is at the port, or on its way there from Take.
    [[nodiscard]] bool IsAttended();

    // Every Take ends, also those to come.
    void Quit();

private:
    using Time = Condition::Clock::time_point;

    [[nodiscard]] bool SleepUntilWanted(std::unique_lock<SlimLock>& hold);
    [[nodiscard]] bool Watch(std::unique_lock<SlimLock>& hold);

    SlimLock m_lock;
    Condition m_wake;           // for a spare that sleeps
    Condition m_look;           // for the one that watches
    bool m_quit = false;        // Guarded by m_lock, as all below.
    bool m_isAttended = false;  // a thread is at the port
    bool m_isWatched = false;   // a spare looks at the port from time to time
    bool m_isWanted = false;    // a spare is to begin with that
    std::uint32_t m_spares = 0; // that wait in Take
    Time m_leftAt;              // when the port was left last
};

} // namespace SvcLink

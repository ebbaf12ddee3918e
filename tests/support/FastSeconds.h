#pragma once

#include "ImportPatch.h"

#include <windows.h>

#include <cstddef>
#include <functional>

namespace TestSupport
{

// A time for code that sleeps second by second: one lasts as long as the test says, and the test may act in
// each. Everything else that sleeps in the program does so in earnest. One at a time.
class FastSeconds
{
public:
    explicit FastSeconds(DWORD milliseconds);
    ~FastSeconds();

    FastSeconds(const FastSeconds&) = delete;
    FastSeconds& operator=(const FastSeconds&) = delete;

    // How many have been slept.
    [[nodiscard]] std::size_t Count() const;

    // How long one lasts from now on.
    void LetLast(DWORD milliseconds);

    // What happens at the beginning of each, on the thread that sleeps.
    void InEach(std::function<void()> action);
    [[nodiscard]] std::function<void()> Action() const;

private:
    ImportPatch m_sleep;
};

} // namespace TestSupport

#pragma once

#include <cstddef>

// The memory of the test program, counted, and short where a test wants it so. Scopes of one kind do not
// nest.

[[nodiscard]] long long BlocksAlive();

// No allocation that must not throw succeeds.
class NoMemory
{
public:
    NoMemory();
    ~NoMemory();

    NoMemory(const NoMemory&) = delete;
    NoMemory& operator=(const NoMemory&) = delete;
};

// One allocation of the calling thread fails, after so many that succeed.
class OneFailure
{
public:
    explicit OneFailure(long long successes);
    ~OneFailure();

    OneFailure(const OneFailure&) = delete;
    OneFailure& operator=(const OneFailure&) = delete;

    [[nodiscard]] bool HasFailed() const;
};

// Every allocation of that many bytes fails, but not on the thread that made this.
class NoMemoryElsewhere
{
public:
    explicit NoMemoryElsewhere(std::size_t size);
    ~NoMemoryElsewhere();

    NoMemoryElsewhere(const NoMemoryElsewhere&) = delete;
    NoMemoryElsewhere& operator=(const NoMemoryElsewhere&) = delete;
};

// What stands in for others has memory all the same: no failure of its thread falls into this scope.
class Plenty
{
public:
    Plenty();
    ~Plenty();

    Plenty(const Plenty&) = delete;
    Plenty& operator=(const Plenty&) = delete;

private:
    long long m_successes;
};

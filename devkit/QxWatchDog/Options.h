#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "RestartPolicy.h"

namespace WatchDog
{

enum class Task
{
    Watch,
    Stop, // the watchdog that runs
    Help,
};

// What the command line asks for.
struct Options
{
    Task task = Task::Watch;
    bool withAgent = true;
    bool untilExit = false; // ends with the product's exit event, and takes the service with it
    std::int32_t mode = 1;  // the agent's start mode
    std::uint32_t crashLimit = RestartPolicy::defaultLimit; // within a minute; 0 never gives the agent up
    std::wstring complaint;                                 // empty for a command line that is right
};

// Takes the words behind the program's name.
[[nodiscard]] Options ParseOptions(const std::vector<std::wstring>& words);

[[nodiscard]] const wchar_t* HelpText();

} // namespace WatchDog

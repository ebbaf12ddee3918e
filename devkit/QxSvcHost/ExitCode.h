#pragma once

#include <string>

namespace SvcHost
{

// What the program answers its caller.
enum class ExitCode
{
    Success = 0,
    Failure = 1,            // a system call failed; the message tells its error
    Usage = 2,              // unknown or too many options
    NeedsAdministrator = 3, // the system denied access
    InstalledAlready = 4,
    NotInstalled = 5,
    RunningAlready = 6,
    NotRunning = 7,
    TimedOut = 8,
    EndpointTaken = 9, // another process is the host service of the product
    NoProduct = 10,    // the program's file name belongs to no product
    NotByHand = 11     // without an option only the service manager may start it
};

// Writes a line to the standard output, or to the standard error for anything but success, and gives the
// code back.
ExitCode Say(ExitCode code, const std::wstring& text);

} // namespace SvcHost

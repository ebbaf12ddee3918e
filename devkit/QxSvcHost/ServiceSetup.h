#pragma once

#include "ExitCode.h"

// The program's options that go to the service manager. Each does its work, tells how it went and gives the
// program's exit code.
namespace SvcHost
{

// Installs the running program; started on demand.
ExitCode InstallService();

// Starts it and waits until it runs.
ExitCode StartInstalledService();

// Stops it and waits until it has stopped.
ExitCode StopInstalledService();

// Removes it, after stopping it if it runs.
ExitCode UninstallService();

} // namespace SvcHost

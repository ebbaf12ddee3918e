#pragma once

#include "ExitCode.h"

namespace SvcHost
{

// Runs as the Windows service until the service manager ends it. ExitCode::NotByHand if it was not the
// service manager that started this program.
ExitCode RunAsService();

// Runs in the foreground until Ctrl-C or the product's exit event.
ExitCode RunInConsole();

} // namespace SvcHost

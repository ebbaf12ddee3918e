#pragma once

#include "Arguments.h"
#include "ControlClient.h"
#include "Output.h"

// The verbs of the command line. Each gives the program's exit code.

[[nodiscard]] int RunStatus(const Arguments& arguments, ControlClient& client, Output& output);
[[nodiscard]] int RunSend(const Arguments& arguments, ControlClient& client, Output& output);
[[nodiscard]] int RunMail(const Arguments& arguments, ControlClient& client, Output& output);
[[nodiscard]] int RunAnswer(const Arguments& arguments, ControlClient& client, Output& output);

// These need no service.
[[nodiscard]] int RunSimulate(const Arguments& arguments, Output& output);
[[nodiscard]] int RunExit(Output& output);

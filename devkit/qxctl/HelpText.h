#pragma once

#include <string>

#include "Arguments.h"

// What --help prints: of one verb, or of the program for Verb::None. Ends in a line feed.
[[nodiscard]] std::wstring HelpText(Verb verb);

#pragma once

#include <optional>
#include <string>

#include "Arguments.h"
#include "Output.h"

// The text that the command line gives, itself or by the name of its UTF-8 file; "{}" if it gives none. Not
// set if the file cannot be read, which is said.
[[nodiscard]] std::optional<std::wstring> TextToSend(const Arguments& arguments, Output& output);

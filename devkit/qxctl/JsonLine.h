#pragma once

#include <optional>
#include <string>

#include "QxCommon_JsonDb.h"

// Foreign JSON as one line for a terminal, which may obey what it is to show: without any control character.

// The tree, keys in the order of the alphabet.
[[nodiscard]] std::wstring JsonLine(const QxCommon::JsonDb& json);

// A reply as it was written, unless it has more than a line or a control character. Parses it, too: not set
// if it is no JSON.
[[nodiscard]] std::optional<std::wstring> ReplyLine(const std::wstring& reply, QxCommon::JsonDb& parsed);

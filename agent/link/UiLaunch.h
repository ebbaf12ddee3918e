#pragma once

#include <cstdint>
#include <string>

#include "VzComn_AgentStatus.h"

// Starts the product's console in this session; several may run at once, and the console decides what a
// second start means. Any thread.

// Starts the console with the given argument string and does not wait for it.
AgentStatus ShowQxUi(const std::wstring& arguments);

// Starts the console so that it opens one popup of a feature. param is not quoted any further.
AgentStatus ShowPopup(const std::wstring& featureId, std::uint32_t popupId, const std::wstring& param);

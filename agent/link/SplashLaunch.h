#pragma once

#include "VzComn_AgentStatus.h"

// Shows the splash and returns when it has closed, at the latest after ten minutes. Any thread.
AgentStatus ShowSplash();

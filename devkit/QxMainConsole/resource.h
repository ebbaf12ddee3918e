// Resource ids of the console.
#pragma once

#define IDI_CONSOLE 1

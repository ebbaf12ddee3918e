#pragma once

#include <windows.h>

// Subscribes the main frame to the system's event notification service. Called on the main thread.
class CQxSensSinkHelper
{
public:
    [[nodiscard]] static bool Initialize(HWND window);
    [[nodiscard]] static bool Uninitialize();

    // Whether the machine has a network connection now; flags, if given, receives its kinds.
    [[nodiscard]] static bool IsNetworkAlive(DWORD* flags);
};

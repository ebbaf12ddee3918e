#pragma once

#include <windows.h>

#include <unknwn.h>

#include <cstddef>
#include <cstdint>

#include "SensSubscription.h"

class CQxSensSink;
struct IEventSystem;

// Subscribes the main frame to the system's event notification service. Called on the main thread.
class CQxSensSinkHelper
{
public:
    // Makes the sink that posts to the window, and subscribes the sets of the mask. True as well where the
    // system has no such service. False: the reason is logged, and the sets before stay subscribed.
    [[nodiscard]] static bool Initialize(HWND window);

    // Takes back what Initialize did, also after a failure of it. Always true.
    [[nodiscard]] static bool Uninitialize();

    // Subscribes the sets that QxSensType holds the bits of. False at the first set that fails.
    [[nodiscard]] static bool SubscriptSets();

    // Subscribes the sink to events of one class. A row without an object is left out; any other failure ends
    // the set. False after either.
    [[nodiscard]] static bool SubscriptEvent(const wchar_t* eventClass, std::size_t count,
                                             const SensSubscription* rows);

    // Removes every row that can be removed. Always true.
    [[nodiscard]] static bool UnsubscriptEvent(std::size_t count, const SensSubscription* rows);

    // Whether the machine has a network connection now; flags, if given, receives its kinds. False without
    // flags.
    [[nodiscard]] static bool IsNetworkAlive(DWORD* flags);

    // The sets that are subscribed. Deliberate: Initialize sets it to none.
    inline static std::uint32_t QxSensType = 0;

private:
    [[nodiscard]] static bool Store(IUnknown* subscription);
    static void UnsubscriptSets();
    static void ReleaseEventSystem();

    inline static CQxSensSink* m_pSink = nullptr;         // owned, from Initialize to Uninitialize
    inline static IEventSystem* m_pEventSystem = nullptr; // one reference, likewise
};

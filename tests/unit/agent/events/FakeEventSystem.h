#pragma once

#include <windows.h>

#include <gmock/gmock.h>
#include <unknwn.h>

#include <string>
#include <vector>

// The window that gets the notices; nobody looks into it.
inline const HWND frame = reinterpret_cast<HWND>(0x4321);

// What a subscription held as it was stored.
struct SubscriptionRecord
{
    std::wstring eventClass;
    std::wstring method;
    std::wstring name;
    std::wstring id;
    const IUnknown* sink = nullptr;
    BOOL perUser = -1;
};

// What the event system of the test was asked for, and how it answers.
struct EventSystemRecord
{
    std::vector<std::string> calls; // "event system" and "subscription" for the creation of these objects
    std::vector<SubscriptionRecord> stored;
    std::vector<std::wstring> removed;
    int living = 0; // objects

    std::string failing; // the operation that fails
    int successes = 0;   // of a creation, before it fails once
    HRESULT failure = E_ACCESSDENIED;
};

[[nodiscard]] EventSystemRecord& TheEvents();

// The classes of an event system in this process, for the length of a scope.
class EventSystem
{
public:
    EventSystem();
    ~EventSystem();

    EventSystem(const EventSystem&) = delete;
    EventSystem& operator=(const EventSystem&) = delete;

private:
    DWORD m_system = 0;
    DWORD m_subscription = 0;
};

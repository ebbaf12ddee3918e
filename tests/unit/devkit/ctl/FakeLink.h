#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "svcLink.h"

// The link's library, played by the test program: it keeps what it was sent and answers as it is told. One at
// a time.
class FakeLink
{
public:
    // One mail as it reached the library.
    struct Sent
    {
        std::uint32_t commandId = 0;
        std::uint32_t second = 0;
        std::string trackingId;
        std::uint32_t outerId = 0;
        std::uint32_t param = 0;
        std::uint32_t innerId = 0;
        std::wstring request;
        std::uint32_t jsonFlag = 1;
        std::uint32_t processId = 0;
        std::uint32_t threadId = 0;
        std::uint32_t pluginId = 0;
        std::uint32_t mailId = 0;
        DWORD executingThread = 0;
    };

    // What the library gives back.
    struct Reply
    {
        std::int32_t call = 0;
        std::uint32_t result = 0x20FF0000;
        std::wstring json = L"{}";
        bool hasResult = true;
        bool hasParam = true;
        bool hasMessage = true;
        bool hasJson = true;
    };

    using Responder = std::function<Reply(const Sent&)>;

    explicit FakeLink(Responder responder);
    ~FakeLink();

    FakeLink(const FakeLink&) = delete;
    FakeLink& operator=(const FakeLink&) = delete;

    // Any thread.
    [[nodiscard]] std::vector<Sent> Calls() const;
    [[nodiscard]] int Managers() const;     // made so far
    [[nodiscard]] int LiveManagers() const; // made and not deleted

    // The next tracking ids cannot be made.
    void FailTrackingIds(std::int32_t status);
};

#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "JournalFile.h"
#include "SvcLinkServer.h"
#include "VzComn_AgentStatus.h"

namespace SvcHost
{

// One thing that happened on the link. What has no meaning for its kind is not set.
struct JournalRecord
{
    const wchar_t* kind = L""; // "register", "unregister", "mail", "event", "command", "gone"
    std::uint32_t processId = 0;
    std::uint32_t sessionId = 0;
    std::optional<std::uint32_t> pluginId;
    std::optional<std::uint32_t> mailId;
    std::optional<std::wstring> request;
    std::wstring event; // the event's name, for that kind
    std::optional<AgentStatus> status;

    // Set by the journal.
    std::uint64_t sequence = 0; // 1 is the first
    std::wstring time;

    // One line of JSON, without line feed.
    [[nodiscard]] std::wstring ToJson() const;
};

// What the service received and sent, the newest records of it, in memory and as lines of JSON in a file.
// Any thread.
class Journal
{
public:
    struct Limits
    {
        std::size_t records = 10'000;
        std::size_t requestBytes = std::size_t{64} << 10U; // of one record; a longer one ends in CutMark
        std::size_t totalBytes = std::size_t{32} << 20U;   // of all requests together
    };

    static constexpr wchar_t CutMark[] = L"...[cut]";

    struct Page
    {
        std::vector<std::shared_ptr<const JournalRecord>> records;
        std::uint64_t next = 0; // what to ask for the records behind these
        std::uint64_t lost = 0; // had left the journal
    };

    // An empty path: no file.
    explicit Journal(const std::wstring& path) : Journal(path, Limits()) {}

    Journal(const std::wstring& path, const Limits& limits);

    void Add(JournalRecord record);

    // The records behind that one, at most so many. Waits for one if there are none yet; Close ends the wait.
    // A number that is not reached yet is of an earlier journal and counts as 0.
    [[nodiscard]] Page Read(std::uint64_t after, std::size_t max, std::chrono::milliseconds wait);

    // The number of the newest record.
    [[nodiscard]] std::uint64_t Last() const;

    // From now on nobody waits.
    void Close();

private:
    void Trim();

    const Limits m_limits;
    std::mutex m_fileLock; // taken before m_lock; keeps the file in order
    JournalFile m_file;    // Guarded by m_fileLock.
    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<std::shared_ptr<const JournalRecord>> m_records; // Guarded by m_lock.
    std::size_t m_bytes = 0;                                    // Guarded by m_lock.
    std::uint64_t m_last = 0;                                   // Guarded by m_lock.
    bool m_closed = false;                                      // Guarded by m_lock.
};

} // namespace SvcHost

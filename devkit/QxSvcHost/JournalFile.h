#pragma once

#include <cstdint>
#include <string>

#include "VzComn_Handle.h"

namespace SvcHost
{

// The journal on disk, one record a line, UTF-8: a file and, once that was full, the one before it, so never
// more than twice the cap. Only administrators and the system may read it, since requests can hold what users
// type. A disk that refuses loses lines and nothing else. Belongs to one thread at a time.
class JournalFile
{
public:
    static constexpr std::uint64_t Cap = std::uint64_t{10} << 20U;

    // An empty path writes nothing. The folder is made if it is missing; in one that somebody else made
    // nothing is written.
    explicit JournalFile(std::wstring path, std::uint64_t cap = Cap);

    void Write(const std::wstring& line);

private:
    void Open();
    void Roll();

    const std::wstring m_path;
    const std::uint64_t m_cap;
    VzCommon::FileHandle m_file;
    std::uint64_t m_size = 0;
    bool m_failed = false; // once reported, not again
};

// Where the running product's journal goes: below ProgramData. Empty if that folder cannot be found.
[[nodiscard]] std::wstring JournalPath();

} // namespace SvcHost

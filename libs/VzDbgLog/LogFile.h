#pragma once

#include "Handles.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace VzDbgLog
{

// One file on the disk, written by this process alone: others may read it, and neither write, delete nor
// rename it. Belongs to whoever holds the log's lock.
class LogFile
{
public:
    // Opens the file, or makes it, and cuts off a line that an earlier writer left unfinished. A link, or a
    // file with a second name, is refused with 1920; a file that somebody holds, with 32.
    DWORD Open(const std::wstring& path);

    void Close();

    [[nodiscard]] bool IsOpen() const { return static_cast<bool>(handle); }

    // 0 while no file is open.
    [[nodiscard]] std::uint64_t Size() const { return size; }

    // When the file was written to before this process opened it.
    [[nodiscard]] const FILETIME& FoundWritten() const { return foundWritten; }

    // All of the bytes or none of them. If not even the torn rest can be taken back, the file is closed.
    DWORD Append(const char* data, std::size_t length);

private:
    DWORD Accept();
    DWORD GoTo(std::uint64_t offset);
    DWORD CutTo(std::uint64_t offset);

    FileHandle handle;
    std::uint64_t size = 0;
    FILETIME foundWritten{};
};

} // namespace VzDbgLog

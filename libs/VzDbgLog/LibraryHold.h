#pragma once

namespace VzDbgLog
{

// Keeps this library loaded, whatever its user does. An open log has one: its timer may be running, and lines
// that wait in memory still reach the file when the process ends. It must go while a caller is in a call, who
// holds the library too.
class LibraryHold
{
public:
    LibraryHold();
    ~LibraryHold();

    LibraryHold(const LibraryHold&) = delete;
    LibraryHold& operator=(const LibraryHold&) = delete;
};

} // namespace VzDbgLog

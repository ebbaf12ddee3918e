#pragma once

#include <windows.h>

namespace VzDbgLog
{

// Owns a file, folder or process-wide handle. Closing keeps the caller's last error.
class FileHandle
{
public:
    FileHandle() = default;

    explicit FileHandle(HANDLE owned) noexcept : handle(owned) {}

    ~FileHandle() { Close(); }

    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;

    FileHandle(FileHandle&& other) noexcept : handle(other.handle) { other.handle = INVALID_HANDLE_VALUE; }

    FileHandle& operator=(FileHandle&& other) noexcept
    {
        if (this != &other)
        {
            Close();
            handle = other.handle;
            other.handle = INVALID_HANDLE_VALUE;
        }
        return *this;
    }

    [[nodiscard]] HANDLE Get() const noexcept { return handle; }

    explicit operator bool() const noexcept { return handle != INVALID_HANDLE_VALUE; }

    void Close() noexcept
    {
        if (handle != INVALID_HANDLE_VALUE)
        {
            const DWORD lastError = GetLastError();
            CloseHandle(handle);
            SetLastError(lastError);
            handle = INVALID_HANDLE_VALUE;
        }
    }

private:
    HANDLE handle = INVALID_HANDLE_VALUE;
};

} // namespace VzDbgLog

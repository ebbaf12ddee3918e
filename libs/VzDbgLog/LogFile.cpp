#include "LogFile.h"

#include "Limits.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace VzDbgLog
{

namespace
{

OVERLAPPED At(std::uint64_t offset)
{
    OVERLAPPED position{};
    position.Offset = static_cast<DWORD>(offset);
    position.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return position;
}

// Where the last whole line ends: behind the last line feed of the first size bytes.
DWORD FindLastLine(HANDLE file, std::uint64_t size, std::uint64_t& end)
{
    std::vector<char> block(4096);
    for (end = size; end != 0;)
    {
        const auto length = static_cast<DWORD>(std::min<std::uint64_t>(end, block.size()));
        OVERLAPPED position = At(end - length);
        DWORD read = 0;
        if (!ReadFile(file, block.data(), length, &read, &position))
        {
            return GetLastError();
        }
        const std::size_t feed = std::string_view(block.data(), read).rfind('\n');
        end -= length;
        if (feed != std::string_view::npos)
        {
            end += feed + 1;
            return ERROR_SUCCESS;
        }
    }
    return ERROR_SUCCESS;
}

} // namespace

DWORD LogFile::Open(const std::wstring& path)
{
    Close();
    handle =
        FileHandle(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                               OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!handle)
    {
        return GetLastError();
    }
    const DWORD error = Accept();
    if (error != ERROR_SUCCESS)
    {
        Close();
    }
    return error;
}

void LogFile::Close()
{
    handle.Close();
    size = 0;
}

DWORD LogFile::Append(const char* data, std::size_t length)
{
    if (!handle)
    {
        return ERROR_INVALID_HANDLE;
    }
    DWORD written = 0;
    const bool done = WriteFile(handle.Get(), data, static_cast<DWORD>(length), &written, nullptr) != FALSE;
    if (done && written == length)
    {
        size += length;
        return ERROR_SUCCESS;
    }
    const DWORD error = done ? ERROR_DISK_FULL : GetLastError();
    if (CutTo(size) != ERROR_SUCCESS)
    {
        Close();
    }
    return error;
}

// A service logs where anybody can make files: a planted link must not lead its writing elsewhere.
DWORD LogFile::Accept()
{
    BY_HANDLE_FILE_INFORMATION found{};
    if (!GetFileInformationByHandle(handle.Get(), &found))
    {
        return GetLastError();
    }
    if ((found.dwFileAttributes & (FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY)) != 0 ||
        found.nNumberOfLinks != 1)
    {
        return ERROR_CANT_ACCESS_FILE;
    }
    foundWritten = found.ftLastWriteTime;
    size = static_cast<std::uint64_t>(found.nFileSizeHigh) << 32 | found.nFileSizeLow;
    if (size >= MaxFileSize)
    {
        return ERROR_SUCCESS; // goes out of use as it is
    }
    std::uint64_t end = 0;
    const DWORD error = FindLastLine(handle.Get(), size, end);
    if (error != ERROR_SUCCESS)
    {
        return error;
    }
    return end == size ? GoTo(end) : CutTo(end);
}

// The next line is written there.
DWORD LogFile::GoTo(std::uint64_t offset)
{
    LARGE_INTEGER position{};
    position.QuadPart = static_cast<LONGLONG>(offset);
    return SetFilePointerEx(handle.Get(), position, nullptr, FILE_BEGIN) ? ERROR_SUCCESS : GetLastError();
}

DWORD LogFile::CutTo(std::uint64_t offset)
{
    const DWORD error = GoTo(offset);
    if (error != ERROR_SUCCESS)
    {
        return error;
    }
    if (!SetEndOfFile(handle.Get()))
    {
        return GetLastError();
    }
    size = offset;
    return ERROR_SUCCESS;
}

} // namespace VzDbgLog

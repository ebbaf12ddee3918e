#include "DumpFile.h"

#include <windows.h>

#include <dbghelp.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace
{
constexpr ULONG32 dumpSignature = 0x504D444D; // "MDMP"

template <typename Record>
bool ReadAt(const std::string& bytes, std::size_t offset, Record& record)
{
    if (offset > bytes.size() || bytes.size() - offset < sizeof(record))
    {
        return false;
    }
    std::memcpy(&record, bytes.data() + offset, sizeof(record));
    return true;
}
} // namespace

DumpFile::DumpFile(const std::wstring& path)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    MINIDUMP_HEADER header{};
    if (!ReadAt(bytes, 0, header) || header.Signature != dumpSignature)
    {
        return;
    }
    bool hasModules = false;
    for (ULONG32 i = 0; i < header.NumberOfStreams; ++i)
    {
        MINIDUMP_DIRECTORY directory{};
        ReadAt(bytes, header.StreamDirectoryRva + i * sizeof(directory), directory);
        const std::size_t begin = directory.Location.Rva;
        ULONG32 count = 0;
        MINIDUMP_EXCEPTION_STREAM exception{};
        switch (directory.StreamType)
        {
        case ExceptionStream:
            ReadAt(bytes, begin, exception);
            threadId = exception.ThreadId;
            exceptionCode = exception.ExceptionRecord.ExceptionCode;
            exceptionAddress = exception.ExceptionRecord.ExceptionAddress;
            break;
        case ThreadListStream:
            ReadAt(bytes, begin, count);
            for (ULONG32 thread = 0; thread < count; ++thread)
            {
                MINIDUMP_THREAD entry{};
                ReadAt(bytes, begin + sizeof(count) + thread * sizeof(entry), entry);
                threadIds.push_back(entry.ThreadId);
            }
            break;
        case ModuleListStream: hasModules = ReadAt(bytes, begin, count) && count > 0; break;
        case Memory64ListStream: hasFullMemory = true; break;
        default: break;
        }
    }
    isWhole = hasModules && exceptionCode != 0 &&
              std::find(threadIds.begin(), threadIds.end(), threadId) != threadIds.end();
}

#include "BriefDump.h"

#include <cstddef>
#include <iterator>

#include "DbghelpTable.h"

namespace
{
struct BriefDump
{
    MINIDUMP_HEADER header;
    MINIDUMP_DIRECTORY directory;
    MINIDUMP_EXCEPTION_STREAM exception;
};
} // namespace

void ReplaceDumpWriter(decltype(&::MiniDumpWriteDump) writer)
{
    s_pDbghelpTable->addresses[std::size(DbghelpTable::functions) - 2] =
        reinterpret_cast<FARPROC>(reinterpret_cast<void*>(writer));
}

BOOL WINAPI WriteBriefDump(HANDLE /*process*/, DWORD /*processId*/, HANDLE file, MINIDUMP_TYPE /*type*/,
                           MINIDUMP_EXCEPTION_INFORMATION* exception,
                           MINIDUMP_USER_STREAM_INFORMATION* /*streams*/,
                           MINIDUMP_CALLBACK_INFORMATION* /*callback*/)
{
    constexpr ULONG32 signature = 0x504D444D; // "MDMP"
    BriefDump dump{};
    dump.header.Signature = signature;
    dump.header.NumberOfStreams = 1;
    dump.header.StreamDirectoryRva = offsetof(BriefDump, directory);
    dump.directory.StreamType = ExceptionStream;
    dump.directory.Location = {sizeof(dump.exception), offsetof(BriefDump, exception)};
    const EXCEPTION_POINTERS* const pointers = exception->ExceptionPointers;
    dump.exception.ThreadId = exception->ThreadId;
    dump.exception.ExceptionRecord.ExceptionCode = pointers->ExceptionRecord->ExceptionCode;
    DWORD written = 0;
    return WriteFile(file, &dump, sizeof(dump), &written, nullptr);
}

#include "RecordingWriter.h"

#include "TestProgram.h"

#include <stdexcept>

namespace TestSupport
{

namespace
{

const std::wstring s_fileName = L"\\VzDbgLog.dll";

// Taken before the tests begin: some of them replace what tells the running program's folder.
const std::wstring s_folder = []() -> std::wstring
{
    try
    {
        const std::wstring path = TestProgram(L"RecordingVzDbgLog\\RecordingVzDbgLog", L"VzDbgLog.dll");
        return path.substr(0, path.size() - s_fileName.size());
    }
    catch (const std::runtime_error&)
    {
        return {};
    }
}();

HMODULE Load(const std::wstring& folder)
{
    const HMODULE library = LoadLibraryW((folder + s_fileName).c_str());
    if (library == nullptr)
    {
        throw std::runtime_error("the recording log writer cannot be loaded");
    }
    return library;
}

RecordingLog* LogOf(HMODULE library)
{
    const auto get = reinterpret_cast<decltype(&GetRecordingLog)>(
        reinterpret_cast<void*>(GetProcAddress(library, "GetRecordingLog")));
    return get();
}

} // namespace

std::wstring RecordingLogFolder()
{
    if (s_folder.empty())
    {
        throw std::runtime_error("the recording log writer has not been built");
    }
    return s_folder;
}

RecordingWriter::RecordingWriter(const std::wstring& folder)
    : m_library(Load(folder)), m_log(LogOf(m_library))
{
}

RecordingWriter::~RecordingWriter()
{
    FreeLibrary(m_library);
}

std::vector<std::wstring> RecordingWriter::Lines(std::size_t first) const
{
    std::vector<std::wstring> lines;
    for (std::size_t i = first; i < m_log->Count(); ++i)
    {
        lines.emplace_back(m_log->Line(i));
    }
    return lines;
}

} // namespace TestSupport

#include "AgentLog.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>

#include "LogCapture.h"
#include "RecordingVzDbgLog.h"
#include "TempDir.h"
#include "VzComn_LogFront.h"

namespace
{
std::wstring TextOf(const std::wstring& line)
{
    const std::wstring name = L"<QxSessionAgent> ";
    const size_t begin = line.find(name) + name.size();
    return line.substr(begin, line.rfind(L" - ") - begin);
}
} // namespace

AgentLog::AgentLog(const TestSupport::TempDir& folder)
{
    folder.Write(L"vzdbg.ini", "[InteractiveSession]\r\nEnable=1\r\nLevel=0x0111\r\n");
    const std::wstring library = folder.Path(L"VzDbgLog.dll");
    if (!CopyFileW((TestSupport::RecordingLogFolder() + L"\\VzDbgLog.dll").c_str(), library.c_str(), TRUE))
    {
        throw std::runtime_error("the recording log writer cannot be copied");
    }
    m_library = LoadLibraryW(library.c_str());
    m_writer = reinterpret_cast<decltype(&GetRecordingLog)>(
        reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_library), "GetRecordingLog")))();
}

AgentLog::~AgentLog()
{
    VzCommon::ShutdownDebugLog();
    FreeLibrary(static_cast<HMODULE>(m_library));
}

std::vector<std::wstring> AgentLog::Texts() const
{
    std::vector<std::wstring> texts;
    for (size_t i = 0; i < m_writer->Count(); ++i)
    {
        texts.push_back(TextOf(m_writer->Line(i)));
    }
    return texts;
}

bool AgentLog::Holds(const std::wstring& words) const
{
    const std::vector<std::wstring> texts = Texts();
    return std::any_of(texts.begin(), texts.end(),
                       [&words](const std::wstring& text) { return text.find(words) != std::wstring::npos; });
}

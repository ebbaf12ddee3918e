#include "LogCapture.h"

#include "VzComn_DebugLog.h"
#include "VzComn_LogFront.h"

#include <memory>
#include <ostream>
#include <stdexcept>
#include <utility>

namespace TestSupport
{

namespace
{

std::string Configuration(std::uint32_t levelMask)
{
    const std::string keys = "\r\nEnable=1\r\nLevel=" + std::to_string(levelMask) + "\r\n";
    return "[InteractiveSession]" + keys + "[ServiceSession]" + keys;
}

std::unique_ptr<VzCommon::DebugLog> StartLog(const std::wstring& folder)
{
    auto log = std::make_unique<VzCommon::DebugLog>();
    if (!log->Initialize(L"LogCapture", VzCommon::Storage::Key::ForIniFile(folder.c_str(), L"\\vzdbg.ini"),
                         RecordingLogFolder()))
    {
        throw std::runtime_error("the log does not start");
    }
    return log;
}

// Both searches step over what a message may hold itself: the name is ahead of it, the source behind it.
LogMessage Split(const std::wstring& line)
{
    constexpr std::size_t timeLength = 23;
    constexpr std::size_t tagLength = 3;
    const std::size_t tag = line.find(L' ', timeLength + 1) + 1;
    const std::size_t text = line.find(L"> ", tag) + 2;
    const std::size_t dash = line.rfind(L" - ");
    const std::size_t bracket = line.rfind(L'(');
    if (bracket == std::wstring::npos || dash < text || bracket < dash || !line.ends_with(L")\r\n"))
    {
        throw std::runtime_error("a log line has not the form of one");
    }
    return {line.substr(tag, tagLength), line.substr(text, dash - text),
            line.substr(dash + 3, bracket - dash - 3),
            static_cast<unsigned>(std::stoul(line.substr(bracket + 1)))};
}

} // namespace

void PrintTo(const LogMessage& message, std::ostream* stream)
{
    const std::wstring all = message.tag + L" " + message.text + L" - " + message.source + L"(" +
                             std::to_wstring(message.line) + L")";
    for (const wchar_t character : all)
    {
        *stream << (character < 0x80 ? static_cast<char>(character) : '?');
    }
}

LogCapture::LogCapture(std::uint32_t levelMask) : m_first(m_writer->Count())
{
    m_folder.Write(L"vzdbg.ini", Configuration(levelMask));
    m_log = StartLog(m_folder.Path()).release();
    m_previous = std::exchange(VzCommon::s_pDebugLog, m_log);
}

LogCapture::~LogCapture()
{
    // Otherwise it has been shut down by the code under test.
    if (VzCommon::s_pDebugLog == m_log)
    {
        VzCommon::ShutdownDebugLog();
        VzCommon::s_pDebugLog = m_previous;
    }
}

std::vector<std::wstring> LogCapture::Lines() const
{
    return m_writer.Lines(m_first);
}

std::vector<LogMessage> LogCapture::Messages() const
{
    std::vector<LogMessage> messages;
    for (const std::wstring& line : Lines())
    {
        messages.push_back(Split(line));
    }
    return messages;
}

std::vector<std::wstring> LogCapture::Texts() const
{
    std::vector<std::wstring> texts;
    for (const LogMessage& message : Messages())
    {
        texts.push_back(message.text);
    }
    return texts;
}

void LogCapture::Clear()
{
    m_first = m_writer->Count();
}

} // namespace TestSupport

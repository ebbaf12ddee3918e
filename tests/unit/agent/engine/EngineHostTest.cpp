#include "EngineHostTest.h"

#include <windows.h>

#include "QxCommon_utility.h"
#include "TestProgram.h"

namespace
{
std::wstring ProgramsFolder()
{
    const std::wstring probe = TestSupport::TestProgram(L"EngineProbe", L"EngineProbe.dll");
    return probe.substr(0, probe.rfind(L"\\EngineProbe\\"));
}

template <typename Function>
Function* ExportOf(const char* name)
{
    const HMODULE library = GetModuleHandleW(L"Quenta.dll");
    return library == nullptr
               ? nullptr
               : reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}
} // namespace

EngineHostTest::EngineHostTest() : m_programs(ProgramsFolder()) {}

EngineHostTest::~EngineHostTest() = default;

void EngineHostTest::CopyProgram(const std::wstring& program, const std::wstring& file,
                                 const std::wstring& target)
{
    const std::wstring source = m_programs + L"\\" + program + L"\\" + file;
    ASSERT_TRUE(CopyFileW(source.c_str(), target.c_str(), FALSE)) << GetLastError();
}

void EngineHostTest::Install(const std::wstring& program, const std::wstring& file)
{
    CopyProgram(program, file, LibraryPath());
}

void EngineHostTest::InstallProbe()
{
    Install(L"EngineProbe", L"EngineProbe.dll");
    host->Initialize();
    ASSERT_NE(GetModuleHandleW(L"Quenta.dll"), nullptr);
    if (log)
    {
        log->Clear();
    }
}

std::wstring EngineHostTest::ReplyTo(const std::wstring& command)
{
    QxCommon::JsonDb json;
    EXPECT_EQ(json.ParseFromString(command), 0U);
    const AgentStatus status = host->Dispatch(json);
    EXPECT_EQ(json[L"retCode"].AsInt(), status);
    return QxCommon::TrimTrailingLineFeeds(json.ToFastString());
}

AgentStatus EngineHostTest::StatusOf(const std::wstring& command)
{
    QxCommon::JsonDb json;
    json.ParseFromString(command);
    return host->Dispatch(json);
}

std::wstring EngineHostTest::DataOf(const std::wstring& command)
{
    QxCommon::JsonDb json;
    json.ParseFromString(command);
    host->Dispatch(json);
    return QxCommon::TrimTrailingLineFeeds(json[L"data"].ToFastString());
}

std::wstring EngineHostTest::Create(const std::wstring& itemId, const std::wstring& sessionId)
{
    QxCommon::JsonDb json;
    json.ParseFromString(L"{\"action\":4097,\"itemId\":\"" + itemId + L"\",\"sessionId\":\"" + sessionId +
                         L"\"}");
    EXPECT_EQ(host->Dispatch(json), Status::Success);
    return json[L"data"][L"trackId"].AsString();
}

std::vector<std::wstring> EngineHostTest::Lines() const
{
    std::vector<std::wstring> lines;
    for (const TestSupport::LogMessage& message : log->Messages())
    {
        const bool isOurs = message.source == L"SpecialEngineHost" || message.source == L"EngineCall";
        const bool isRepeated = message.text.find(L"==> ") != std::wstring::npos ||
                                message.text.find(L"<== ") != std::wstring::npos ||
                                message.text.find(L": [DEBUG] jsonData:") == 0;
        if (isOurs && !isRepeated)
        {
            lines.push_back(message.text);
        }
    }
    return lines;
}

std::wstring EngineHostTest::Events()
{
    const auto events = ExportOf<const wchar_t*()>("EngineEvents");
    return events != nullptr ? events() : L"";
}

long EngineHostTest::Living()
{
    const auto living = ExportOf<long()>("LivingEngines");
    return living != nullptr ? living() : 0;
}

void EngineHostTest::ReleaseSlowEngines()
{
    const auto release = ExportOf<void()>("ReleaseSlowEngines");
    ASSERT_NE(release, nullptr);
    release();
}

std::wstring PlainAnswer(const std::wstring& data, AgentStatus status)
{
    return L"{\"data\":" + data + L",\"retCode\":" + std::to_wstring(status) + L"}";
}

std::wstring ActionOn(const std::wstring& trackId, std::uint32_t action, const std::wstring& more)
{
    return L"{\"JD_COMMAND_ID\":2000,\"action\":" + std::to_wstring(action) + L",\"trackId\":" + trackId +
           more + L"}";
}

#include "CrashScene.h"

#include <algorithm>
#include <iterator>
#include <mutex>

#include "CrashState.h"
#include "DbghelpTable.h"
#include "VzComn_LogChannel.h"

namespace
{
std::mutex g_mutex;
std::vector<std::wstring> g_steps;
decltype(&SetEvent) g_setEvent = nullptr;

void AddStep(const std::wstring& step)
{
    const std::lock_guard guard(g_mutex);
    g_steps.push_back(step);
}

// The text between the module's name and the source's.
void AddLine(const wchar_t* line)
{
    const std::wstring text(line);
    const std::size_t begin = text.find(L"> ") + 2;
    AddStep(text.substr(begin, text.rfind(L" - ") - begin));
}

BOOL WINAPI Signal(HANDLE event)
{
    AddStep(event == s_hCrashDoneEvent.Get() ? L"done" : L"signal");
    return g_setEvent(event);
}

BOOL WINAPI End(HANDLE process, UINT code)
{
    EXPECT_EQ(GetProcessId(process), GetCurrentProcessId());
    EXPECT_NE(process, GetCurrentProcess());
    AddStep(L"end " + std::to_wstring(code));
    return FALSE;
}
} // namespace

CrashScene::Dump CrashScene::dump;
bool CrashScene::dumpResult = true;
std::function<void()> CrashScene::duringDump;

CrashScene::CrashScene() : m_signal(nullptr, "SetEvent", &Signal), m_end(nullptr, "TerminateProcess", &End)
{
    g_setEvent = m_signal.Original<BOOL WINAPI(HANDLE)>();
    record.ExceptionCode = EXCEPTION_ACCESS_VIOLATION;
    record.ExceptionAddress = reinterpret_cast<void*>(&Signal);
    VzCommon::SetFeedbackErrorFolder(&TestSupport::RecordingLogFolder);
    log.Writer().duringTrace = &AddLine;
    duringDump = nullptr;
}

CrashScene::~CrashScene()
{
    log.Writer().duringTrace = nullptr;
}

std::vector<std::wstring> CrashScene::Steps()
{
    const std::lock_guard guard(g_mutex);
    return g_steps;
}

std::ptrdiff_t CrashScene::CountOf(const std::wstring& step)
{
    const std::vector<std::wstring> steps = Steps();
    return std::count(steps.begin(), steps.end(), step);
}

void CrashScene::ForgetSteps()
{
    const std::lock_guard guard(g_mutex);
    g_steps.clear();
}

void CrashScene::Arm(const std::wstring& eventName)
{
    Init(eventName);
    ASSERT_NE(s_pDbghelpTable, nullptr);
    s_pDbghelpTable->addresses[std::size(DbghelpTable::functions) - 2] =
        reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&WriteDump));
    ForgetSteps();
}

BOOL WINAPI CrashScene::WriteDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                                  MINIDUMP_EXCEPTION_INFORMATION* exception,
                                  MINIDUMP_USER_STREAM_INFORMATION* streams,
                                  MINIDUMP_CALLBACK_INFORMATION* callback)
{
    EXPECT_EQ(GetProcessId(process), processId);
    AddStep(L"dump");
    ++dump.count;
    dump.process = processId;
    dump.type = type;
    dump.hasException = exception != nullptr;
    dump.exception = exception != nullptr ? *exception : MINIDUMP_EXCEPTION_INFORMATION{};
    dump.hasRest = streams != nullptr || callback != nullptr;
    DWORD written = 0;
    WriteFile(file, "MDMP", 4, &written, nullptr);
    if (duringDump)
    {
        duringDump();
    }
    return dumpResult;
}

#include <windows.h>

#include <gmock/gmock.h>
#include <wtsapi32.h>

#include <cstring>
#include <thread>

#include "AgentWindow.h"
#include "FakeProduct.h"
#include "ImportPatch.h"
#include "ObjectCounts.h"
#include "RecordingOutput.h"
#include "Verbs.h"
#include "VzComn_Handle.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using TestSupport::ImportPatch;

namespace
{
constexpr const wchar_t* mark = L"Norvane Soft Melvio SessionAgent";

// What the last window got that the test cares for.
struct Received
{
    UINT message = 0;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
    POWERBROADCAST_SETTING setting{};
};

Received g_received;

LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message != WM_WTSSESSION_CHANGE && message != WM_POWERBROADCAST && message != 0x0430)
    {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    g_received = {message, wParam, lParam, {}};
    if (message == WM_POWERBROADCAST && wParam == PBT_POWERSETTINGCHANGE)
    {
        std::memcpy(&g_received.setting, reinterpret_cast<const void*>(lParam), sizeof g_received.setting);
    }
    return 0;
}

// A window that carries the agent's mark.
class MarkedWindow
{
public:
    MarkedWindow()
    {
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = &Receive;
        windowClass.lpszClassName = L"SimulateVerbTests";
        RegisterClassW(&windowClass);
        m_window = CreateWindowExW(0, windowClass.lpszClassName, L"", WS_OVERLAPPED, 0, 0, 1, 1, nullptr,
                                   nullptr, nullptr, nullptr);
        SetPropW(m_window, mark, reinterpret_cast<HANDLE>(1));
    }

    ~MarkedWindow()
    {
        RemovePropW(m_window, mark);
        DestroyWindow(m_window);
    }

    MarkedWindow(const MarkedWindow&) = delete;
    MarkedWindow& operator=(const MarkedWindow&) = delete;

    [[nodiscard]] HWND Get() const { return m_window; }

private:
    HWND m_window = nullptr;
};

// A window whose thread handles nothing until the scope ends.
class HangingWindow
{
public:
    HangingWindow()
        : m_isUp(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
          m_mayEnd(CreateEventW(nullptr, TRUE, FALSE, nullptr)), m_thread(&HangingWindow::Hang, this)
    {
        WaitForSingleObject(m_isUp.Get(), INFINITE);
    }

    ~HangingWindow()
    {
        SetEvent(m_mayEnd.Get());
        m_thread.join();
    }

    HangingWindow(const HangingWindow&) = delete;
    HangingWindow& operator=(const HangingWindow&) = delete;

private:
    void Hang() const
    {
        const MarkedWindow window;
        SetEvent(m_isUp.Get());
        WaitForSingleObject(m_mayEnd.Get(), INFINITE);
    }

    VzCommon::KernelHandle m_isUp;
    VzCommon::KernelHandle m_mayEnd;
    std::thread m_thread;
};

int g_frees = 0;
int g_lists = 0;
std::vector<WTS_PROCESS_INFOW> g_processes;

BOOL WINAPI CountVirtualFreeEx(HANDLE /*process*/, LPVOID /*memory*/, SIZE_T /*size*/, DWORD /*type*/)
{
    ++g_frees;
    SetLastError(ERROR_SUCCESS);
    return TRUE;
}

BOOL WINAPI FakeEnumerate(HANDLE /*server*/, DWORD /*reserved*/, DWORD /*version*/,
                          WTS_PROCESS_INFOW** processes, DWORD* count)
{
    ++g_lists;
    *processes = g_processes.data();
    *count = static_cast<DWORD>(g_processes.size());
    return TRUE;
}

BOOL WINAPI RefuseToEnumerate(HANDLE, DWORD, DWORD, WTS_PROCESS_INFOW**, DWORD*)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

void WINAPI FakeFree(void* memory)
{
    --g_lists;
    EXPECT_EQ(memory, g_processes.data());
}

LRESULT WINAPI RefuseMessage(HWND, UINT, WPARAM, LPARAM, UINT, UINT, DWORD_PTR*)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return 0;
}

HANDLE WINAPI RefuseToOpen(DWORD, BOOL, DWORD)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

BOOL WINAPI RefuseToWrite(HANDLE, LPVOID, LPCVOID, SIZE_T, SIZE_T*)
{
    SetLastError(ERROR_PARTIAL_COPY);
    return FALSE;
}

class SimulateTest : public ::testing::Test
{
protected:
    SimulateTest()
    {
        g_received = {};
        g_frees = 0;
    }

    int Run(const std::vector<std::wstring>& words)
    {
        std::vector<std::wstring> all = {L"simulate"};
        all.insert(all.end(), words.begin(), words.end());
        const ParsedArguments parsed = ParseArguments(all);
        EXPECT_EQ(parsed.error, L"");
        return RunSimulate(parsed.arguments, output);
    }

    // The agents that the system knows of, by process, session and file name.
    static void SetProcesses(std::vector<WTS_PROCESS_INFOW> processes) { g_processes = std::move(processes); }

    FakeProduct product{L"qxctl_M.exe"};
    RecordingOutput output;
    std::wstring self = std::to_wstring(GetCurrentProcessId());
};

TEST_F(SimulateTest, TellsTheAgentAndSaysSo)
{
    const MarkedWindow agent;
    EXPECT_EQ(Run({L"lock"}), ExitCode::Ok);
    EXPECT_EQ(g_received.message, static_cast<UINT>(WM_WTSSESSION_CHANGE));
    EXPECT_EQ(g_received.wParam, static_cast<WPARAM>(WTS_SESSION_LOCK));
    EXPECT_EQ(Run({L"network-made", L"2"}), ExitCode::Ok);
    EXPECT_EQ(g_received.message, 0x0430U);
    EXPECT_EQ(g_received.wParam, 2U);
    EXPECT_EQ(output.text,
              L"Process " + self + L" was told: lock\nProcess " + self + L" was told: network-made 2\n");
    EXPECT_THAT(output.notes, IsEmpty());
}

TEST_F(SimulateTest, SpeaksJsonToPrograms)
{
    const MarkedWindow agent;
    EXPECT_EQ(Run({L"lock", L"--json", L"--pid", self}), ExitCode::Ok);
    EXPECT_EQ(output.text, L"{\"change\":\"lock\",\"processId\":" + self + L"}\n");
}

TEST_F(SimulateTest, PutsASettingIntoTheAgentsMemoryAndFreesIt)
{
    const MarkedWindow agent;
    EXPECT_EQ(Run({L"battery", L"35"}), ExitCode::Ok);
    EXPECT_EQ(g_received.setting.PowerSetting, GUID_BATTERY_PERCENTAGE_REMAINING);
    EXPECT_EQ(g_received.setting.DataLength, sizeof(DWORD));
    EXPECT_EQ(g_received.setting.Data[0], 35);
    MEMORY_BASIC_INFORMATION memory{};
    VirtualQuery(reinterpret_cast<const void*>(g_received.lParam), &memory, sizeof memory);
    EXPECT_EQ(memory.State, static_cast<DWORD>(MEM_FREE));
    EXPECT_EQ(TestSupport::GrowthOf([this] { EXPECT_EQ(Run({L"battery", L"35"}), ExitCode::Ok); }), "");
}

TEST_F(SimulateTest, LeavesTheSettingToAnAgentThatMayHandleItLater)
{
    const ImportPatch patch(nullptr, "VirtualFreeEx", &CountVirtualFreeEx);
    {
        const HangingWindow agent;
        EXPECT_EQ(Run({L"battery", L"35", L"--timeout", L"0"}), ExitCode::TimedOut);
        EXPECT_THAT(output.notes, ElementsAre(HasSubstr(L"process " + self + L", did not answer in time")));
    }
    EXPECT_EQ(g_frees, 0);
    const MarkedWindow agent;
    EXPECT_EQ(Run({L"battery", L"35"}), ExitCode::Ok);
    EXPECT_EQ(g_frees, 1);
}

TEST_F(SimulateTest, NeedsAnAgent)
{
    SetProcesses({{0, 4, const_cast<wchar_t*>(L"QxSessionAgent.exe"), nullptr}, {0, 5, nullptr, nullptr}});
    const ImportPatch list(nullptr, "WTSEnumerateProcessesW", &FakeEnumerate);
    const ImportPatch free(nullptr, "WTSFreeMemory", &FakeFree);
    EXPECT_EQ(Run({L"lock"}), ExitCode::NotReachable);
    EXPECT_EQ(output.text, L"");
    EXPECT_THAT(output.notes, ElementsAre(L"no agent of Melvio is running"));
    EXPECT_EQ(g_lists, 0);
}

TEST_F(SimulateTest, SaysInWhichSessionAnAgentRuns)
{
    SetProcesses({{0x10007, 77, const_cast<wchar_t*>(L"qxsessionagent_m.EXE"), nullptr}});
    const ImportPatch list(nullptr, "WTSEnumerateProcessesW", &FakeEnumerate);
    const ImportPatch free(nullptr, "WTSFreeMemory", &FakeFree);
    EXPECT_EQ(Run({L"lock"}), ExitCode::NotReachable);
    EXPECT_THAT(output.notes, ElementsAre(HasSubstr(L"but in session 65543, process 77; run qxctl in that")));
}

TEST_F(SimulateTest, SaysWhichAgentHasNoWindow)
{
    DWORD session = 0;
    ASSERT_TRUE(ProcessIdToSessionId(GetCurrentProcessId(), &session));
    SetProcesses({{session + 1, 77, const_cast<wchar_t*>(L"QxSessionAgent_M.exe"), nullptr},
                  {session, 78, const_cast<wchar_t*>(L"QxSessionAgent_M.exe"), nullptr}});
    const ImportPatch list(nullptr, "WTSEnumerateProcessesW", &FakeEnumerate);
    const ImportPatch free(nullptr, "WTSFreeMemory", &FakeFree);
    EXPECT_EQ(Run({L"lock"}), ExitCode::NotReachable);
    EXPECT_THAT(output.notes, ElementsAre(HasSubstr(L"process 78, has no window on this desktop")));
}

TEST_F(SimulateTest, DoesWithoutTheListOfProcesses)
{
    const ImportPatch list(nullptr, "WTSEnumerateProcessesW", &RefuseToEnumerate);
    EXPECT_EQ(Run({L"lock"}), ExitCode::NotReachable);
    EXPECT_THAT(output.notes, ElementsAre(L"no agent of Melvio is running"));
}

TEST_F(SimulateTest, TellsNoWindowThatIsNotTheAgents)
{
    const MarkedWindow other;
    SetPropW(other.Get(), mark, reinterpret_cast<HANDLE>(2));
    EXPECT_EQ(Run({L"lock"}), ExitCode::NotReachable);
    EXPECT_EQ(g_received.message, 0U);
}

TEST_F(SimulateTest, AsksWhichOfSeveralAgents)
{
    const MarkedWindow one;
    const MarkedWindow two;
    EXPECT_EQ(Run({L"lock"}), ExitCode::Refused);
    EXPECT_EQ(Run({L"lock", L"--pid", L"4"}), ExitCode::Refused);
    EXPECT_THAT(output.notes,
                ElementsAre(HasSubstr(L"of processes " + self + L", " + self + L"; name one by --pid"),
                            HasSubstr(L"process 4 is no agent of Melvio in this session, but process ")));
    EXPECT_EQ(g_received.message, 0U);
}

TEST_F(SimulateTest, SaysWhatTheSystemRefused)
{
    const MarkedWindow agent;
    {
        const ImportPatch patch(nullptr, "SendMessageTimeoutW", &RefuseMessage);
        EXPECT_EQ(Run({L"lock"}), ExitCode::Refused);
    }
    {
        const ImportPatch patch(nullptr, "OpenProcess", &RefuseToOpen);
        EXPECT_EQ(Run({L"battery", L"1"}), ExitCode::Refused);
    }
    {
        const ImportPatch write(nullptr, "WriteProcessMemory", &RefuseToWrite);
        const ImportPatch count(nullptr, "VirtualFreeEx", &CountVirtualFreeEx);
        EXPECT_EQ(Run({L"battery", L"1"}), ExitCode::Refused);
        EXPECT_EQ(g_frees, 1);
    }
    EXPECT_THAT(output.notes,
                ElementsAre(HasSubstr(L"cannot be told: 0xe0fe0005, access denied: run qxctl as"),
                            HasSubstr(L"cannot be told: 0xe0fe0005"),
                            HasSubstr(L"cannot be told: 0xe0fe012b")));
    EXPECT_EQ(g_received.message, 0U);
}

TEST_F(SimulateTest, SaysThatTheAgentHasEnded)
{
    const MarkedWindow agent;
    const ImportPatch patch(
        nullptr, "IsWindow", +[](HWND) -> BOOL { return FALSE; });
    const ImportPatch refuse(nullptr, "SendMessageTimeoutW", &RefuseMessage);
    const ImportPatch open(nullptr, "OpenProcess", &RefuseToOpen);
    EXPECT_EQ(Run({L"lock"}), ExitCode::NotReachable);
    EXPECT_EQ(Run({L"battery", L"1"}), ExitCode::NotReachable);
    const std::wstring note = L"the agent, process " + self + L", has ended";
    EXPECT_THAT(output.notes, ElementsAre(note, note));
}
} // namespace

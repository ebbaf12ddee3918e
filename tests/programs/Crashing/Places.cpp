#include "Places.h"

#include <windows.h>

#include <process.h>

#include <atomic>
#include <cwchar>
#include <map>
#include <thread>
#include <vector>

#include "BriefDump.h"
#include "CrashState.h"
#include "Deaths.h"
#include "ImportPatch.h"
#include "LogCapture.h"
#include "VzComn_LogFront.h"
#include "util_CrashHandler.h"

namespace
{
std::wstring g_death;

DWORD WINAPI DieInThread(void* /*argument*/)
{
    Die();
    return 0;
}

unsigned __stdcall DieInRuntimeThread(void* /*argument*/)
{
    Die();
    return 0;
}

void InThread()
{
    WaitForSingleObject(CreateThread(nullptr, 0, &DieInThread, nullptr, 0, nullptr), INFINITE);
}

void InRuntimeThread()
{
    const auto thread = _beginthreadex(nullptr, 0, &DieInRuntimeThread, nullptr, 0, nullptr);
    WaitForSingleObject(reinterpret_cast<HANDLE>(thread), INFINITE);
}

void InStandardThread()
{
    std::thread(&Die).join();
}

// What a library may have as little as possible of.
void InSmallThread()
{
    constexpr SIZE_T stack = 256 * 1024;
    WaitForSingleObject(
        CreateThread(nullptr, stack, &DieInThread, nullptr, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr),
        INFINITE);
}

void CALLBACK DieInPool(PTP_CALLBACK_INSTANCE /*instance*/, void* /*context*/)
{
    Die();
}

void InPool()
{
    TrySubmitThreadpoolCallback(&DieInPool, nullptr, nullptr);
    Sleep(INFINITE);
}

LRESULT CALLBACK DieInWindow(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_USER)
    {
        Die();
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

void InWindow()
{
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &DieInWindow;
    windowClass.lpszClassName = L"Crashing";
    RegisterClassW(&windowClass);
    const HWND window =
        CreateWindowExW(0, L"Crashing", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    SendMessageW(window, WM_USER, 0, 0);
}

void InManyThreads()
{
    constexpr int count = 8;
    static std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
    {
        threads.emplace_back(
            []
            {
                ++ready;
                while (ready < count)
                {
                }
                Die();
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

BOOL WINAPI FaultingDumpWriter(HANDLE /*process*/, DWORD /*id*/, HANDLE /*file*/, MINIDUMP_TYPE /*type*/,
                               MINIDUMP_EXCEPTION_INFORMATION* /*exception*/,
                               MINIDUMP_USER_STREAM_INFORMATION* /*streams*/,
                               MINIDUMP_CALLBACK_INFORMATION* /*callback*/)
{
    Die();
    return FALSE;
}

void InDumpWriter()
{
    ReplaceDumpWriter(&FaultingDumpWriter);
    Die();
}

TestSupport::LogCapture& StartLog()
{
    static auto& log = *new TestSupport::LogCapture;
    return log;
}

void DieInLog(const wchar_t* /*line*/)
{
    Die();
}

// Every line, of this log and of the others.
void InLog()
{
    StartLog().Writer().duringTrace = &DieInLog;
    LOG_ERROR << L"the last words";
}

// Every line, but nothing else.
void WithFaultyLog()
{
    StartLog().Writer().duringTrace = &DieInLog;
    Die();
}

// At the last line of the handling.
void InLogOfSignal()
{
    StartLog().Writer().duringTrace = [](const wchar_t* line)
    {
        if (std::wcsstr(line, L"Set crash event") != nullptr)
        {
            Die();
        }
    };
    Die();
}

std::atomic<bool> g_isHeld{false};

void HoldLog(const wchar_t* /*line*/)
{
    if (!g_isHeld.exchange(true))
    {
        Sleep(INFINITE);
    }
}

void WhileLogIsHeld()
{
    StartLog().Writer().duringTrace = &HoldLog;
    std::thread([] { LOG_ERROR << L"never through"; }).detach();
    while (!g_isHeld)
    {
        Sleep(1);
    }
    Die();
}

void WINAPI SleepBriefly(DWORD milliseconds)
{
    SleepEx(milliseconds / 100, FALSE);
}

// The log never lets the thread that crashes go on. The minute that the handling may take is shorter here.
void WithHangingLog()
{
    static const TestSupport::ImportPatch sleep(nullptr, "Sleep", &SleepBriefly);
    StartLog().Writer().duringTrace = [](const wchar_t* /*line*/) { SleepEx(INFINITE, FALSE); };
    Die();
}

void AfterUninit()
{
    UninitCrashHandler();
    Die();
}

struct AtExit
{
    AtExit() = default;

    ~AtExit() { Die(); } // NOLINT(bugprone-exception-escape)

    AtExit(const AtExit&) = delete;
    AtExit& operator=(const AtExit&) = delete;
};

void InStatics()
{
    static const AtExit last;
}

// The main thread goes on to the end of the program while another one crashes.
void WhileMainEnds()
{
    std::thread(&Die).detach();
    while (s_crashThreadId == 0)
    {
        Sleep(1);
    }
    UninitCrashHandler();
}

const std::map<std::wstring, Place> places{
    {L"main", &Die},
    {L"thread", &InThread},
    {L"runtime-thread", &InRuntimeThread},
    {L"standard-thread", &InStandardThread},
    {L"small-thread", &InSmallThread},
    {L"pool", &InPool},
    {L"window", &InWindow},
    {L"many-threads", &InManyThreads},
    {L"dump-writer", &InDumpWriter},
    {L"log", &InLog},
    {L"faulty-log", &WithFaultyLog},
    {L"log-of-signal", &InLogOfSignal},
    {L"held-log", &WhileLogIsHeld},
    {L"hanging-log", &WithHangingLog},
    {L"after-uninit", &AfterUninit},
    {L"statics", &InStatics},
    {L"main-ends", &WhileMainEnds},
};
} // namespace

bool DieIn(const std::wstring& place, const std::wstring& death)
{
    auto found = places.find(place);
    if (found == places.end())
    {
        found = RarePlaces().find(place);
        if (found == RarePlaces().end())
        {
            return false;
        }
    }
    g_death = death;
    found->second();
    return true;
}

void Die()
{
    DieOf(g_death);
}

// What the reports that the service orders cost the agent: both of them at intervals of a second, and every
// five seconds another window in the foreground. Processor time of a minute, as the kernel counts it, beside
// that of a program that asks the system the same and sends the same mails, and nothing else.
//
//     bench_reporting_M.exe        all of it
//     bare_reporter_M.exe bare     the other program: a copy of this one
#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string>

#include "BareClient.h"
#include "KernelFigures.h"
#include "MessageIds.h"
#include "RunningAgent.h"
#include "Stopwatch.h"

namespace
{
namespace fs = std::filesystem;

constexpr int changes = 12;
constexpr DWORD betweenChanges = 5000; // milliseconds: a minute in all
constexpr double minutesOfAnHour = 60;
constexpr DWORD settle = 3000; // milliseconds, for what the orders themselves took
constexpr wchar_t reporterProgram[] = L"bare_reporter_M.exe";
constexpr wchar_t agentProgram[] = L"QxSessionAgent_M.exe";

int RunBareReporter()
{
    if (LoadLink(OwnFolder()) < 0)
    {
        return 1;
    }
    BareClient client;
    HWND last = nullptr;
    for (bool answered = true; answered; Sleep(1000))
    {
        LASTINPUTINFO input{sizeof input, 0};
        GetLastInputInfo(&input);
        answered = client.Mail(Plugin::UserActivity, Mail::InputInfo,
                               L"{\"lastInputTicket\":" + std::to_wstring(input.dwTime) + L"}");
        const HWND window = GetForegroundWindow();
        DWORD processId = 0;
        GetWindowThreadProcessId(window, &processId);
        if (answered && window != last)
        {
            answered = client.Mail(Plugin::UserActivity, Mail::ActiveWindow,
                                   L"{\"processId\":" + std::to_wstring(processId) + L"}");
            last = window;
        }
    }
    return 1;
}

HWND MakeWindow()
{
    return CreateWindowW(L"STATIC", L"bench_reporting", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50, nullptr, nullptr,
                         nullptr, nullptr);
}

// Answers the windows' messages meanwhile.
void Wait(DWORD milliseconds)
{
    const ULONGLONG end = GetTickCount64() + milliseconds;
    for (ULONGLONG now = GetTickCount64(); now < end; now = GetTickCount64())
    {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - now), QS_ALLINPUT);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
        {
            DispatchMessageW(&message);
        }
    }
}

void ChangeForeground()
{
    const HWND windows[] = {MakeWindow(), MakeWindow()};
    for (int change = 0; change < changes; ++change)
    {
        SetForegroundWindow(windows[change % std::size(windows)]);
        Wait(betweenChanges);
    }
    for (const HWND window : windows)
    {
        DestroyWindow(window);
    }
}

void Print(const char* what, double milliseconds)
{
    std::printf("%s: %.1f ms of processor in a minute, %.1f s in an hour\n", what, milliseconds,
                milliseconds * minutesOfAnHour / 1000);
}

bool Measure(RunningAgent& agent)
{
    for (const wchar_t* const order : {L"1011", L"1100"})
    {
        agent.Send(L"{\"JD_COMMAND_ID\":" + std::wstring(order) + L",\"interval\":1}");
    }
    Sleep(settle);
    const fs::path folders[] = {KernelFolder("bench_reporting\\" + fs::path(agentProgram).string()),
                                KernelFolder("bench_reporting\\" + fs::path(reporterProgram).string())};
    if (folders[0].empty() || folders[1].empty())
    {
        std::printf("a program does not run\n");
        return false;
    }
    const ThreadTimes before[] = {TimesOf(folders[0]), TimesOf(folders[1])};
    const int mailsBefore = agent.Mails();
    ChangeForeground();
    const int mails = agent.Mails() - mailsBefore;
    const double ours = ProcessorMilliseconds(before[0], TimesOf(folders[0]));
    const double peer = ProcessorMilliseconds(before[1], TimesOf(folders[1]));
    std::printf("reports in a minute: %d\n", mails);
    Print("agent", ours);
    Print("bare reporter", peer);
    std::printf("ratio %.2f\n", ours / peer);
    return mails > changes;
}

bool Run(const fs::path& root)
{
    RunningAgent agent(root);
    const VzCommon::KernelHandle reporter = StartProgram(root / reporterProgram, L"bare");
    const bool isReady = agent.IsReady() && reporter;
    const bool isMeasured = isReady && Measure(agent);
    if (!isReady)
    {
        std::printf("service, agent and reporter do not come up\n");
    }
    TerminateProcess(reporter.Get(), 0);
    WaitForSingleObject(reporter.Get(), INFINITE);
    return isMeasured;
}

// A path that no other program has.
fs::path Install(const fs::path& stage)
{
    const fs::path root = fs::temp_directory_path() / L"bench_reporting";
    fs::remove_all(root);
    fs::copy(stage, root, fs::copy_options::recursive);
    fs::copy_file(OwnFolder() + L"bench_reporting_M.exe", root / reporterProgram);
    return root;
}
} // namespace

int main(int count, char** /*arguments*/)
{
    if (count > 1)
    {
        return RunBareReporter();
    }
    const fs::path root = Install(QX_STAGE);
    const bool measured = Run(root);
    std::error_code ignored; // a process that has just ended may hold its file for a moment
    fs::remove_all(root, ignored);
    return measured ? 0 : 1;
}

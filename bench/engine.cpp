// An action of an engine, from the service through command 2000 and back, beside command 3000, which does
// next to nothing: it looks for a window that is not there. The sample library's notes are told to forget,
// its cheapest action. A plug-in inside of the service times both.
#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "CommandTimer.h"
#include "ControlClient.h"
#include "QxCommon_JsonDb.h"
#include "RunningAgent.h"
#include "Stopwatch.h"

namespace
{
namespace fs = std::filesystem;

constexpr std::chrono::seconds limit(60);

// A copy of the product whose service has the plug-in.
fs::path InstallWithTimer(const fs::path& stage)
{
    const fs::path root = fs::temp_directory_path() / L"bench_engine";
    fs::remove_all(root);
    fs::copy(stage, root, fs::copy_options::recursive);
    fs::create_directories(root / L"win32/plugins");
    fs::copy(OwnFolder() + L"command_timer.dll", root / L"win32/plugins");
    return root;
}

// The track id of a new engine; 0 if there is none.
std::uint32_t CreateNotes(RunningAgent& agent)
{
    QxCommon::JsonDb reply;
    const std::wstring text =
        agent.Send(LR"({"JD_COMMAND_ID":2000,"action":4097,"itemId":"notes","sessionId":"s"})");
    return reply.ParseFromString(text) == 0 ? QxCommon::UIntOrZero(reply[L"data"][L"trackId"]) : 0;
}

bool Measure(RunningAgent& agent)
{
    const std::uint32_t trackId = CreateNotes(agent);
    const std::wstring action =
        LR"({"JD_COMMAND_ID":2000,"action":8194,"trackId":)" + std::to_wstring(trackId) + L"}"; // forget
    ControlClient client;
    const MailAnswer answer = client.Mail(CommandTimer::PluginId, CommandTimer::Compare,
                                          action + L"\n" + LR"({"JD_COMMAND_ID":3000})", limit);
    QxCommon::JsonDb times;
    if (trackId == 0 || answer.Failed() || times.ParseFromString(answer.json) != 0)
    {
        std::printf("an action failed\n");
        return false;
    }
    const double engine = QxCommon::UIntOrZero(times[L"first"]);
    const double peer = QxCommon::UIntOrZero(times[L"second"]);
    std::printf("action of an engine: %.1f us, command 3000 %.1f us, ratio %.2f\n", engine / 1000,
                peer / 1000, engine / peer);
    return true;
}

bool Run(const fs::path& root)
{
    RunningAgent agent(root);
    if (!agent.IsReady())
    {
        std::printf("service and agent do not come up\n");
        return false;
    }
    return Measure(agent);
}
} // namespace

int main()
{
    const fs::path root = InstallWithTimer(QX_STAGE);
    const bool measured = Run(root);
    std::error_code ignored; // the service's process may hold its files for a moment
    fs::remove_all(root, ignored);
    return measured ? 0 : 1;
}

// What a log line costs: composed by the product's log and handed to a file by the log writer, beside
// spdlog's synchronous file sink with the same text; and a statement whose level is off, beside a call that
// does nothing.
#include "LogLine.h"
#include "MedianReporter.h"

#include "VzComn_LogFront.h"

#include <benchmark/benchmark.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <windows.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace
{
constexpr int repetitions = 15;

// What both sides say, from the same values.
constexpr int eventId = 18;
constexpr unsigned status = 0x20FF0000;

void LineOfTheProduct(benchmark::State& state, bool robust)
{
    const TemporaryFolder folder;
    const ProductLog log(folder.Path(), robust);
    for (auto iteration : state)
    {
        if (!log.Get().Trace("agent/link/AgentService", __LINE__, VzCommon::LogLevel::Info,
                             L": [INFO] Event was sent...EventId=%d, Status=0x%08x", eventId, status))
        {
            state.SkipWithError("not written");
            break;
        }
    }
}

// Composed in advance: what the log writer takes of it.
void LineOfTheWriter(benchmark::State& state, bool robust)
{
    const TemporaryFolder folder;
    const WriterLog log(folder.Path(), robust);
    const std::wstring line = L"14/11/2026 02:59:37.123 0a3c:1f08 .w. <QxSessionAgent> : [INFO] Event was "
                              L"sent...EventId=18, Status=0x20ff0000 - AgentService(31)\r\n";
    SYSTEMTIME time{};
    GetLocalTime(&time);
    for (auto iteration : state)
    {
        if (!log.Trace(time, line))
        {
            state.SkipWithError("not written");
            break;
        }
    }
}

void LineOfSpdlog(benchmark::State& state, bool robust)
{
    const TemporaryFolder folder;
    const auto sink =
        std::make_shared<spdlog::sinks::basic_file_sink_mt>(folder.NarrowPath() + "\\spdlog.log");
    spdlog::logger logger("QxSessionAgent", sink);
    logger.set_pattern("%d/%m/%Y %H:%M:%S.%e %P:%t .w. <%n> %v - %s(%#)", spdlog::pattern_time_type::local);
    logger.set_level(spdlog::level::trace);
    logger.flush_on(robust ? spdlog::level::trace : spdlog::level::off);
    for (auto iteration : state)
    {
        SPDLOG_LOGGER_INFO(&logger, ": [INFO] Event was sent...EventId={}, Status=0x{:08x}", eventId, status);
    }
}

void StatementThatIsOff(benchmark::State& state)
{
    const TemporaryFolder folder;
    const ProductLog log(folder.Path(), true);
    VzCommon::s_pDebugLog = &log.Get();
    for (auto iteration : state)
    {
        LOG_PRINTF(VzCommon::LogLevel::Debug, L"event %d, status 0x%08x", eventId, status);
    }
    VzCommon::s_pDebugLog = nullptr;
}

void StreamThatIsOff(benchmark::State& state)
{
    const TemporaryFolder folder;
    const ProductLog log(folder.Path(), true);
    VzCommon::s_pDebugLog = &log.Get();
    for (auto iteration : state)
    {
        LOG_DEBUG << L"event " << eventId << L", status " << status;
    }
    VzCommon::s_pDebugLog = nullptr;
}

void CallThatDoesNothing(benchmark::State& state)
{
    for (auto iteration : state)
    {
        DoNothing();
    }
}

template <typename Function>
void Register(const char* name, Function function)
{
    benchmark::RegisterBenchmark(name, function)
        ->UseRealTime()
        ->Repetitions(repetitions)
        ->MinTime(0.1)
        ->ReportAggregatesOnly();
}
} // namespace

int main(int argc, char** argv)
{
    Register("line", [](benchmark::State& state) { LineOfTheProduct(state, false); });
    Register("line_spdlog", [](benchmark::State& state) { LineOfSpdlog(state, false); });
    Register("line_writer", [](benchmark::State& state) { LineOfTheWriter(state, false); });
    Register("robust_line", [](benchmark::State& state) { LineOfTheProduct(state, true); });
    Register("robust_line_spdlog", [](benchmark::State& state) { LineOfSpdlog(state, true); });
    Register("robust_line_writer", [](benchmark::State& state) { LineOfTheWriter(state, true); });
    Register("statement_off", StatementThatIsOff);
    Register("stream_off", StreamThatIsOff);
    Register("empty_call", CallThatDoesNothing);

    MedianReporter reporter;
    reporter.RunInterleaved(argc, argv);
    reporter.PrintRatio("a line, gathered", "line", "spdlog without flush", "line_spdlog", "ns");
    reporter.PrintRatio("of it in the log writer", "line_writer", "all", "line", "ns");
    reporter.PrintRatio("a line, robust", "robust_line", "spdlog with flush", "robust_line_spdlog", "ns");
    reporter.PrintRatio("of it in the log writer", "robust_line_writer", "all", "robust_line", "ns");
    reporter.PrintRatio("a statement that is off", "statement_off", "an empty call", "empty_call", "ns");
    reporter.PrintRatio("a stream statement that is off", "stream_off", "an empty call", "empty_call", "ns");
    return EXIT_SUCCESS;
}

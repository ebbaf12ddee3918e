// What the message of one event mail costs: built, taken as bytes, parsed and read, beside MessagePack and
// FlatBuffers with the same fields. The bytes stay in the process; the way to the service is not measured.
#include "EventMail.h"
#include "MedianReporter.h"

#include <benchmark/benchmark.h>

#include <cstdlib>

namespace
{
constexpr int repetitions = 15;

const EventMail mail{uR"({"eventId":18,"winSessionId":1})", 0, 4711, 4712, 5, 0x1802};

void Register(const char* name, void (*carry)(const EventMail&, EventMail&))
{
    benchmark::RegisterBenchmark(name,
                                 [carry](benchmark::State& state)
                                 {
                                     EventMail room;
                                     for (auto iteration : state)
                                     {
                                         carry(mail, room);
                                         benchmark::DoNotOptimize(room);
                                     }
                                     if (room != mail)
                                     {
                                         state.SkipWithError("not what was sent");
                                     }
                                 })
        ->UseRealTime()
        ->Repetitions(repetitions)
        ->MinTime(0.1)
        ->ReportAggregatesOnly();
}
} // namespace

int main(int argc, char** argv)
{
    Register("message", &CarryByMessage);
    Register("message_pack", &CarryByMessagePack);
    Register("flat_buffers", &CarryByFlatBuffers);

    MedianReporter reporter;
    reporter.RunInterleaved(argc, argv);
    reporter.PrintRatio("an event mail", "message", "MessagePack", "message_pack", "ns");
    reporter.PrintRatio("an event mail", "message", "FlatBuffers", "flat_buffers", "ns");
    return EXIT_SUCCESS;
}

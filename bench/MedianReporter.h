#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

// Prints what a benchmark always prints, remembers the median of each function and sets them in relation.
class MedianReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
        {
            if (run.aggregate_name == "median")
            {
                m_medians[run.run_name.function_name] = run.GetAdjustedRealTime();
            }
        }
    }

    // unit is the one in which the functions were registered.
    void PrintRatio(const char* what, const char* ours, const char* peerName, const char* peer,
                    const char* unit)
    {
        std::printf("%s: %.1f %s, %s %.1f %s, ratio %.2f\n", what, m_medians[ours], unit, peerName,
                    m_medians[peer], unit, m_medians[ours] / m_medians[peer]);
    }

    // Runs all registered functions; their repetitions are mixed, so that they meet the same machine.
    void RunInterleaved(int argc, char** argv)
    {
        std::vector<char*> arguments(argv, argv + argc);
        std::string interleaving = "--benchmark_enable_random_interleaving=true";
        arguments.push_back(interleaving.data());
        int count = static_cast<int>(arguments.size());
        benchmark::Initialize(&count, arguments.data());
        benchmark::RunSpecifiedBenchmarks(this);
    }

private:
    std::map<std::string, double> m_medians;
};

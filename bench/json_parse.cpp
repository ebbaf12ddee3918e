// Reading a JSON file of one megabyte: the product's reading, plain and enciphered, beside the JSON library
// alone, which only reads the same file into memory and parses the same text.
#include "BenchmarkFile.h"
#include "Container.h"
#include "MedianReporter.h"
#include "QxCommon_JsonDb.h"

#include <benchmark/benchmark.h>
#include <json/reader.h>
#include <json/value.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace
{
// What configurations and messages are made of: short names, numbers, text with and without escapes.
std::string MakeText()
{
    std::string text = "{\n  \"items\": [\n    {}";
    for (int i = 0; text.size() < oneMegabyte; ++i)
    {
        const std::string number = std::to_string(i);
        text += ",\n    { \"name\": \"item" + number + "\", \"number\": " + number +
                ", \"ratio\": 1.5, \"isOn\": true,\n      \"text\": \"Pr\xC3\xBC"
                "fung \xE6\xA3\x80\xE6\x9F\xA5 \\\"" +
                number + "\\\" \\u00e4\", \"modes\": [1, 5, null] }";
    }
    return text + "\n  ]\n}\n";
}

void ReadByTheProduct(benchmark::State& state, const std::wstring& path)
{
    for (auto iteration : state)
    {
        QxCommon::JsonDb tree;
        if (QxCommon::JsonDb::ParseFromFile(path, tree) != Status::Success || tree.LastError() != 0)
        {
            state.SkipWithError("not parsed");
            break;
        }
    }
}

void ReadByTheLibrary(benchmark::State& state, const std::wstring& path, const std::string& text)
{
    for (auto iteration : state)
    {
        benchmark::DoNotOptimize(ReadBytes(path));
        Json::Value root;
        Json::Reader reader(Json::Features::all());
        if (!reader.parse(text.data(), text.data() + text.size(), root))
        {
            state.SkipWithError("not parsed");
            break;
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    const std::string text = MakeText();
    const TemporaryFile plain(L"plain", text);
    const TemporaryFile container(L"container", Container::Of(text));

    Register("plain", [&](benchmark::State& state) { ReadByTheProduct(state, plain.Path()); });
    Register("plain_library", [&](benchmark::State& state) { ReadByTheLibrary(state, plain.Path(), text); });
    Register("container", [&](benchmark::State& state) { ReadByTheProduct(state, container.Path()); });
    Register("container_library",
             [&](benchmark::State& state) { ReadByTheLibrary(state, container.Path(), text); });

    MedianReporter reporter;
    reporter.RunInterleaved(argc, argv);
    reporter.PrintRatio("plain file of 1 MB", "plain", "JSON library alone", "plain_library", "ms");
    reporter.PrintRatio("container of 1 MB", "container", "JSON library alone", "container_library", "ms");
    return EXIT_SUCCESS;
}

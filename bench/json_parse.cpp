// Reading a JSON file of one megabyte: the product's reading, plain and enciphered, beside the JSON library
// alone, which only reads the same file into memory and parses the same text.
#include "Container.h"
#include "MedianReporter.h"
#include "QxCommon_JsonDb.h"

#include <benchmark/benchmark.h>
#include <json/reader.h>
#include <json/value.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace
{
constexpr std::size_t textSize = 1024U * 1024U;
constexpr int repetitions = 15;

// What configurations and messages are made of: short names, numbers, text with and without escapes.
std::string MakeText()
{
    std::string text = "{\n  \"items\": [\n    {}";
    for (int i = 0; text.size() < textSize; ++i)
    {
        const std::string number = std::to_string(i);
        text += ",\n    { \"name\": \"item" + number + "\", \"number\": " + number +
                ", \"ratio\": 1.5, \"isOn\": true,\n      \"text\": \"Pr\xC3\xBC"
                "fung \xE6\xA3\x80\xE6\x9F\xA5 \\\"" +
                number + "\\\" \\u00e4\", \"modes\": [1, 5, null] }";
    }
    return text + "\n  ]\n}\n";
}

// A file in the folder for temporary files, gone at the end.
class TemporaryFile
{
public:
    TemporaryFile(const wchar_t* name, const std::string& bytes)
    {
        wchar_t folder[MAX_PATH + 1]{};
        GetTempPathW(MAX_PATH, folder);
        m_path = std::wstring(folder) + name + std::to_wstring(GetCurrentProcessId());
        std::ofstream(m_path.c_str(), std::ios::binary)
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    ~TemporaryFile() { DeleteFileW(m_path.c_str()); }

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    [[nodiscard]] const std::wstring& Path() const { return m_path; }

private:
    std::wstring m_path;
};

std::string ReadBytes(const std::wstring& path)
{
    std::string bytes(4 * textSize, '\0');
    FILE* file = _wfopen(path.c_str(), L"rb");
    if (file == nullptr)
    {
        return {};
    }
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
    return bytes;
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

template <typename Function>
void Register(const char* name, Function function)
{
    benchmark::RegisterBenchmark(name, function)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Repetitions(repetitions)
        ->MinTime(0.2)
        ->ReportAggregatesOnly();
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

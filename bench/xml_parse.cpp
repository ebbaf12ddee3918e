// Reading a profile of one megabyte into the tree of elements, beside the parser library alone with handlers
// that do nothing and beside pugixml, which builds a tree of its own from the same file.
#include "BenchmarkFile.h"
#include "MedianReporter.h"
#include "VzComn_Expat.h"
#include "VzComn_XmlParser.h"

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{
// What profiles are made of: menus within menus, an item a line, with short attributes; names are keys.
std::string MakeProfile()
{
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Ui>\n  <Menus>\n";
    for (int i = 0; text.size() < oneMegabyte; ++i)
    {
        const std::string number = std::to_string(i);
        text +=
            "    <Menu id=\"" + number + "\" name=\"Pr\xC3\xBC" + "fung" + number + "\" type=\"string\">\n";
        for (int child = 0; child < 4; ++child)
        {
            text += "      <Menu id=\"0x1" + number + "\" name=\"OpenConsole" + number +
                    "\" type=\"string\" font=\"bold\" function_id=\"3\" enabled=\"1\" checked=\"0\"/>\n";
        }
        text += "      <Menu type=\"separator\"/>\n    </Menu>\n";
    }
    text += "  </Menus>\n</Ui>\n";
    return text.size() % 1024 == 0 ? text + "\n" : text;
}

void ReadIntoTree(benchmark::State& state, const std::wstring& path)
{
    for (auto iteration : state)
    {
        VzCommon::Storage::XmlParser parser;
        parser.SetProperty(L"PathOfDll", QX_EXPAT_FOLDER);
        parser.Parse(path, L"/");
    }
}

// As the profile is read: into the tree, which is copied to the caller and closed.
void ReadAndCopy(benchmark::State& state, const std::wstring& path)
{
    for (auto iteration : state)
    {
        VzCommon::Storage::XmlElement root;
        VzCommon::Storage::XmlParser parser;
        parser.SetProperty(L"PathOfDll", QX_EXPAT_FOLDER);
        parser.Parse(path, L"/");
        if (!parser.GetElement(L"", root) || root.FirstChild()->ChildCount() < 1000)
        {
            state.SkipWithError("not parsed");
            break;
        }
        parser.Close();
    }
}

void XMLCALL OnStart(void* /*userData*/, const XML_Char* /*name*/, const XML_Char** /*attributes*/) {}

void XMLCALL OnEnd(void* /*userData*/, const XML_Char* /*name*/) {}

void XMLCALL OnText(void* /*userData*/, const XML_Char* /*text*/, int /*length*/) {}

void XMLCALL OnComment(void* /*userData*/, const XML_Char* /*text*/) {}

// The whole file at once.
void ReadByTheLibrary(benchmark::State& state, const VzCommon::Library::Expat::Exports& expat,
                      const std::wstring& path)
{
    for (auto iteration : state)
    {
        const std::string bytes = ReadBytes(path);
        XML_Parser parser = expat.parserCreate(nullptr, nullptr, nullptr);
        expat.setElementHandler(parser, &OnStart, &OnEnd);
        expat.setCharacterDataHandler(parser, &OnText);
        expat.setDefaultHandler(parser, &OnText);
        expat.setCommentHandler(parser, &OnComment);
        if (expat.parse(parser, bytes.data(), static_cast<int>(bytes.size()), 1) != XML_STATUS_OK)
        {
            state.SkipWithError("not parsed");
        }
        expat.parserFree(parser);
    }
}

void ReadByPugixml(benchmark::State& state, const std::wstring& path)
{
    for (auto iteration : state)
    {
        pugi::xml_document document;
        if (!document.load_file(path.c_str()))
        {
            state.SkipWithError("not parsed");
            break;
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    const TemporaryFile file(L"profile", MakeProfile());
    // Loaded all the time, so that nobody's loading of it is measured.
    VzCommon::Library::Expat library;
    if (!library.Load(QX_EXPAT_FOLDER L"\\libexpat.dll", nullptr, nullptr) || !library.Bind(true, nullptr))
    {
        std::puts("libexpat.dll is missing");
        return EXIT_FAILURE;
    }
    Register("tree", [&](benchmark::State& state) { ReadIntoTree(state, file.Path()); });
    Register("copy", [&](benchmark::State& state) { ReadAndCopy(state, file.Path()); });
    Register("expat",
             [&](benchmark::State& state) { ReadByTheLibrary(state, library.Table(), file.Path()); });
    Register("pugixml", [&](benchmark::State& state) { ReadByPugixml(state, file.Path()); });

    MedianReporter reporter;
    reporter.RunInterleaved(argc, argv);
    reporter.PrintRatio("profile of 1 MB", "tree", "Expat alone", "expat", "ms");
    reporter.PrintRatio("the same", "tree", "pugixml", "pugixml", "ms");
    reporter.PrintRatio("the same, copied to the caller", "copy", "Expat alone", "expat", "ms");
    return EXIT_SUCCESS;
}

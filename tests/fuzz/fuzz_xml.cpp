// Gives the fuzzer's bytes to the XML layer as a document's file.
#include "Platform.h"
#include "XmlInvariants.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    SetFile({data, size});
    std::string broken = BrokenXmlInvariant({data, size}, L"document.xml", L"library");
    if (broken.empty() && OpenObjects() != 0)
    {
        broken = "everything is closed";
    }
    if (!broken.empty())
    {
        std::fprintf(stderr, "does not hold: %s\n", broken.c_str());
        std::abort();
    }
    return 0;
}

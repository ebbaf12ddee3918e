#include <cstdlib>

// A library that ends the program.
extern "C" __declspec(dllexport) void AbortInLibrary()
{
    std::abort();
}

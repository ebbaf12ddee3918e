// A library that cannot be loaded because another one is missing.
extern "C" __declspec(dllimport) int Absent();

extern "C" __declspec(dllexport) int Dependent()
{
    return Absent();
}

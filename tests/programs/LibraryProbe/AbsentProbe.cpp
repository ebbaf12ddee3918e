// The library that DependentProbe needs and never finds.
extern "C" __declspec(dllexport) int Absent()
{
    return 1;
}

// A library whose exports have names of every length that matters: a narrow name of 127 characters just fits
// the buffer on a caller's stack with its terminator, the others do not.
#define PROBE_EXPORT extern "C" __declspec(dllexport) int

#define NAME_10(c) c##c##c##c##c##c##c##c##c##c
#define PASTE(a, b) a##b
#define JOIN(a, b) PASTE(a, b)
#define NAME_20(c) JOIN(NAME_10(c), NAME_10(c))
#define NAME_40(c) JOIN(NAME_20(c), NAME_20(c))
#define NAME_120(c) JOIN(NAME_40(c), JOIN(NAME_40(c), NAME_40(c)))

PROBE_EXPORT Short()
{
    return 5;
}

PROBE_EXPORT JOIN(NAME_120(a), aaaaaaa)()
{
    return 127;
}

PROBE_EXPORT JOIN(NAME_120(a), aaaaaaaa)()
{
    return 128;
}

PROBE_EXPORT JOIN(NAME_120(a), NAME_120(a))()
{
    return 240;
}

#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "SplashPicture.h"

// Stands before the true GDI+ of this test program: writes down what is called, and passes it on unless told
// to refuse.
struct GdiPlusRecorder
{
    std::vector<std::wstring> calls;                    // the function and what tells its call from others
    std::map<std::wstring, Gdiplus::GpStatus> refusals; // the status by the function
    std::vector<std::wstring> lines;                    // the texts drawn
    std::vector<Gdiplus::GpImage*> images;              // loaded and not yet freed

    // Frees the images, which the splash does not; how many there were.
    std::size_t FreeImages();
};

[[nodiscard]] GdiPlusRecorder& TheGdiPlus();

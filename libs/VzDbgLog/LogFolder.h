#pragma once

#include "Handles.h"

#include <string>

namespace VzDbgLog
{

// The folder of a log. While this object lives, the folder can be neither renamed nor removed nor replaced by
// a link. Constant once opened.
class LogFolder
{
public:
    // Finds the folder that the configuration means, makes whatever of its path is missing, and holds it.
    // 0, or the Windows error: 1920 if the folder itself is a link, 267 if it is a file.
    DWORD Open(const std::wstring& configured);

    [[nodiscard]] std::wstring PathOf(const std::wstring& fileName) const { return path + fileName; }

private:
    std::wstring path; // absolute, in the form that knows no limit of length, with a backslash at its end
    FileHandle held;
};

} // namespace VzDbgLog

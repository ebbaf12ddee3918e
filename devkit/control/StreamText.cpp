#include "StreamText.h"

#include <algorithm>
#include <cstddef>

#include "QxCommon_JsonText.h"

namespace
{
// A console takes no more than some 64 KB at once.
constexpr std::size_t consolePiece = 8192;
constexpr std::size_t filePiece = 0x100000;

bool WriteConsoleText(HANDLE handle, const std::wstring& text)
{
    for (std::size_t from = 0; from < text.size();)
    {
        DWORD written = 0;
        const auto piece = static_cast<DWORD>(std::min(consolePiece, text.size() - from));
        if (!WriteConsoleW(handle, text.c_str() + from, piece, &written, nullptr) || written == 0)
        {
            return false;
        }
        from += written;
    }
    return true;
}

bool WriteBytes(HANDLE handle, const std::string& bytes)
{
    for (std::size_t from = 0; from < bytes.size();)
    {
        DWORD written = 0;
        const auto piece = static_cast<DWORD>(std::min(filePiece, bytes.size() - from));
        if (!WriteFile(handle, bytes.data() + from, piece, &written, nullptr) || written == 0)
        {
            return false;
        }
        from += written;
    }
    return true;
}
} // namespace

bool WriteText(HANDLE stream, const std::wstring& text)
{
    DWORD mode = 0;
    return GetConsoleMode(stream, &mode) ? WriteConsoleText(stream, text)
                                         : WriteBytes(stream, QxCommon::JsonText::ToUtf8(text));
}

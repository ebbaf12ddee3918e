#include "StreamText.h"

#include <algorithm>
#include <cstddef>

#include "QxCommon_JsonText.h"

namespace
{
// A console takes no more than some 64 KB at once.
constexpr std::size_t consolePiece = 8192;
constexpr std::size_t filePiece = 0x100000;

// Hands the text on piece by piece. write has the form of WriteFile.
template <typename Text, typename Write>
bool WritePieces(HANDLE handle, const Text& text, std::size_t longest, Write write)
{
    for (std::size_t from = 0; from < text.size();)
    {
        DWORD written = 0;
        const auto piece = static_cast<DWORD>(std::min(longest, text.size() - from));
        if (!write(handle, text.data() + from, piece, &written, nullptr) || written == 0)
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
    return GetConsoleMode(stream, &mode)
               ? WritePieces(stream, text, consolePiece, &WriteConsoleW)
               : WritePieces(stream, QxCommon::JsonText::ToUtf8(text), filePiece, &WriteFile);
}

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include <windows.h>

#include "Commands.h"

namespace
{
// The colours of a bitmap's pixels, row by row from the top, six digits each.
std::string ColoursOf(const std::vector<DWORD>& pixels)
{
    std::ostringstream text;
    for (const DWORD pixel : pixels)
    {
        text << std::hex << std::setw(6) << std::setfill('0') << (pixel & 0xFFFFFF);
    }
    return text.str();
}

std::wstring DrawOn(DWORD background, HICON icon, int size)
{
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = size;
    info.bmiHeader.biHeight = -size;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    HDC context = CreateCompatibleDC(nullptr);
    HBITMAP bitmap = CreateDIBSection(context, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    HGDIOBJ before = SelectObject(context, bitmap);
    auto* const first = static_cast<DWORD*>(bits);
    const auto count = static_cast<std::size_t>(size) * static_cast<std::size_t>(size);
    std::fill_n(first, count, background);
    DrawIconEx(context, 0, 0, icon, size, size, 0, nullptr, DI_NORMAL);
    GdiFlush();
    const std::string colours = ColoursOf({first, first + count});
    SelectObject(context, before);
    DeleteObject(bitmap);
    DeleteDC(context);
    return {colours.begin(), colours.end()};
}

// {"program" and its resource "id", or "file"; "size", "background"}: an icon as it looks on that colour.
Records PictureOfIcon(const Record& request)
{
    const std::wstring program = request.Text("program");
    const std::wstring file = request.Text("file");
    HMODULE module =
        program.empty() ? nullptr : LoadLibraryExW(program.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    HICON icon =
        module != nullptr
            ? LoadIconW(module, MAKEINTRESOURCEW(request.Small("id")))
            : static_cast<HICON>(LoadImageW(nullptr, file.c_str(), IMAGE_ICON, 0, 0, LR_LOADFROMFILE));
    if (icon == nullptr)
    {
        return {ErrorRecord(GetLastError())};
    }
    const int size = static_cast<int>(request.Small("size"));
    Record record =
        ErrorRecord(ERROR_SUCCESS).Set("colours", DrawOn(request.Small("background"), icon, size));
    DestroyIcon(icon);
    if (module != nullptr)
    {
        FreeLibrary(module);
    }
    return {record};
}
} // namespace

void AddIconCommands(CommandTable& table)
{
    table[L"drawIcon"] = PictureOfIcon;
}

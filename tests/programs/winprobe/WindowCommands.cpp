#include <iterator>
#include <vector>

#include <windows.h>

#include "Commands.h"

namespace
{
HWND WindowOf(const Record& request)
{
    return reinterpret_cast<HWND>(request.Number("window"));
}

std::wstring ClassOf(HWND window)
{
    wchar_t name[256] = {};
    GetClassNameW(window, name, static_cast<int>(std::size(name)));
    return name;
}

// The text as the window itself gives it, so that of a control too; empty if it does not answer in time.
std::wstring TextOf(HWND window)
{
    constexpr UINT limit = 2000;
    DWORD_PTR length = 0;
    if (!SendMessageTimeoutW(window, WM_GETTEXTLENGTH, 0, 0, SMTO_ABORTIFHUNG, limit, &length))
    {
        return {};
    }
    std::vector<wchar_t> text(length + 1);
    SendMessageTimeoutW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()),
                        SMTO_ABORTIFHUNG, limit, &length);
    return text.data();
}

Record Describe(HWND window)
{
    DWORD process = 0;
    const DWORD thread = GetWindowThreadProcessId(window, &process);
    RECT rect = {};
    GetWindowRect(window, &rect);
    return Record()
        .Set("window", reinterpret_cast<ULONG_PTR>(window))
        .Set("class", ClassOf(window))
        .Set("title", TextOf(window))
        .Set("process", process)
        .Set("thread", thread)
        .Set("visible", IsWindowVisible(window) != FALSE ? 1 : 0)
        .Set("left", static_cast<std::uint64_t>(rect.left))
        .Set("top", static_cast<std::uint64_t>(rect.top))
        .Set("x", static_cast<std::uint64_t>((rect.left + rect.right) / 2))
        .Set("y", static_cast<std::uint64_t>((rect.top + rect.bottom) / 2));
}

BOOL CALLBACK Collect(HWND window, LPARAM list)
{
    reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
    return TRUE;
}

Records DescribeAll(const std::vector<HWND>& windows)
{
    Records records{ErrorRecord(ERROR_SUCCESS)};
    for (HWND window : windows)
    {
        records.push_back(Describe(window));
    }
    return records;
}

// Every top-level window of the desktop, or those of one "class", hidden ones included.
Records ListWindows(const Record& request)
{
    const std::wstring wanted = request.Text("class");
    std::vector<HWND> windows;
    EnumWindows(Collect, reinterpret_cast<LPARAM>(&windows));
    std::erase_if(windows, [&](HWND window) { return !wanted.empty() && ClassOf(window) != wanted; });
    return DescribeAll(windows);
}

Records ListChildren(const Record& request)
{
    std::vector<HWND> windows;
    EnumChildWindows(WindowOf(request), Collect, reinterpret_cast<LPARAM>(&windows));
    return DescribeAll(windows);
}

Records GetProperty(const Record& request)
{
    HWND window = WindowOf(request);
    const HANDLE value = GetPropW(window, request.Text("name").c_str());
    Record record = ErrorRecord(IsWindow(window) ? ERROR_SUCCESS : ERROR_INVALID_WINDOW_HANDLE);
    return {record.Set("value", reinterpret_cast<ULONG_PTR>(value))};
}

Records Post(const Record& request)
{
    const BOOL posted = PostMessageW(WindowOf(request), request.Small("message"), request.Number("wParam"),
                                     static_cast<LPARAM>(request.Number("lParam")));
    return {ErrorRecord(posted ? ERROR_SUCCESS : GetLastError())};
}

// {"message", "wParam", "lParam", "limit"}: an answer that does not come in time gives 1460.
Records Send(const Record& request)
{
    DWORD_PTR result = 0;
    SetLastError(ERROR_SUCCESS);
    const LRESULT sent = SendMessageTimeoutW(
        WindowOf(request), request.Small("message"), request.Number("wParam"),
        static_cast<LPARAM>(request.Number("lParam")), SMTO_NORMAL, request.Small("limit"), &result);
    const DWORD error = GetLastError() != ERROR_SUCCESS ? GetLastError() : ERROR_TIMEOUT;
    return {ErrorRecord(sent != 0 ? ERROR_SUCCESS : error).Set("result", result)};
}
} // namespace

void AddWindowCommands(CommandTable& table)
{
    table[L"windows"] = ListWindows;
    table[L"children"] = ListChildren;
    table[L"property"] = GetProperty;
    table[L"post"] = Post;
    table[L"send"] = Send;
}

#include <future>
#include <mutex>
#include <string>
#include <thread>

#include <windows.h>

#include <shellapi.h>

#include "Commands.h"

namespace
{
// A taskbar that tells what it is asked for. The one created last comes first with the programs that look
// for a taskbar; when it is gone, the real one is found again.
class Taskbar
{
public:
    static Taskbar& Instance()
    {
        static Taskbar taskbar;
        return taskbar;
    }

    HWND Open()
    {
        std::promise<HWND> created;
        std::future<HWND> window = created.get_future();
        m_calls.clear();
        m_thread = std::thread(&Taskbar::Run, this, std::move(created));
        m_window = window.get();
        return m_window;
    }

    void Close()
    {
        if (m_thread.joinable())
        {
            PostMessageW(m_window, WM_CLOSE, 0, 0);
            m_thread.join();
        }
    }

    void Refuse(bool refuse)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_refuse = refuse;
    }

    Records Calls()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Records records{ErrorRecord(ERROR_SUCCESS)};
        records.insert(records.end(), m_calls.begin(), m_calls.end());
        return records;
    }

private:
    // What stands at the start of the shell's own request.
    struct Request
    {
        DWORD window;
        UINT id;
        UINT flags;
        UINT callbackMessage;
        wchar_t tooltip[128];
    };

    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
    {
        switch (message)
        {
        case WM_COPYDATA: return Instance().Answer(*reinterpret_cast<const COPYDATASTRUCT*>(lParam));
        case WM_DESTROY: PostQuitMessage(0); return 0;
        default: return DefWindowProcW(window, message, wParam, lParam);
        }
    }

    LRESULT Answer(const COPYDATASTRUCT& data)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (data.cbData < sizeof(Request))
        {
            return FALSE;
        }
        const auto& request = *static_cast<const Request*>(data.lpData);
        m_calls.push_back(Record()
                              .Set("message", data.dwData)
                              .Set("window", request.window)
                              .Set("id", request.id)
                              .Set("flags", request.flags)
                              .Set("callbackMessage", request.callbackMessage)
                              .Set("tooltip", request.tooltip)
                              .Set("taken", m_refuse ? 0 : 1));
        return m_refuse ? FALSE : TRUE;
    }

    void Run(std::promise<HWND> created)
    {
        WNDCLASSW windowClass = {};
        windowClass.lpfnWndProc = Procedure;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.lpszClassName = L"Shell_TrayWnd";
        RegisterClassW(&windowClass);
        HWND window = CreateWindowExW(WS_EX_TOPMOST | WS_EX_TOOLWINDOW, windowClass.lpszClassName, L"",
                                      WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, windowClass.hInstance, nullptr);
        created.set_value(window);
        MSG message = {};
        while (window != nullptr && GetMessageW(&message, nullptr, 0, 0) > 0)
        {
            DispatchMessageW(&message);
        }
    }

    std::mutex m_mutex;
    Records m_calls;
    bool m_refuse = false;
    HWND m_window = nullptr;
    std::thread m_thread;
};

// {"refuse"}: a taskbar of this program's own, before the real one.
Records OpenTaskbar(const Record& request)
{
    Taskbar& taskbar = Taskbar::Instance();
    taskbar.Close();
    taskbar.Refuse(request.Flag("refuse"));
    return {ErrorRecord(taskbar.Open() != nullptr ? ERROR_SUCCESS : ERROR_CANNOT_MAKE)};
}

Records SetTaskbar(const Record& request)
{
    Taskbar::Instance().Refuse(request.Flag("refuse"));
    return {ErrorRecord(ERROR_SUCCESS)};
}

Records TaskbarCalls(const Record&)
{
    return Taskbar::Instance().Calls();
}

Records CloseTaskbar(const Record&)
{
    Taskbar::Instance().Close();
    return {ErrorRecord(ERROR_SUCCESS)};
}

// {"name"}: tells every window the message that is registered under that name.
Records Broadcast(const Record& request)
{
    const UINT message = RegisterWindowMessageW(request.Text("name").c_str());
    const BOOL sent = SendNotifyMessageW(HWND_BROADCAST, message, 0, 0);
    return {ErrorRecord(sent ? ERROR_SUCCESS : GetLastError())};
}

Records DoubleClickTime(const Record&)
{
    return {ErrorRecord(ERROR_SUCCESS).Set("milliseconds", GetDoubleClickTime())};
}

} // namespace

void AddTrayCommands(CommandTable& table)
{
    table[L"openTaskbar"] = OpenTaskbar;
    table[L"setTaskbar"] = SetTaskbar;
    table[L"taskbarCalls"] = TaskbarCalls;
    table[L"closeTaskbar"] = CloseTaskbar;
    table[L"broadcast"] = Broadcast;
    table[L"doubleClickTime"] = DoubleClickTime;
}

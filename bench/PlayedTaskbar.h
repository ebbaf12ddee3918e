#pragma once

#include <windows.h>

#include <deque>

// A taskbar before the desktop's own one for the length of a scope: it takes every icon that a program shows,
// and knows the moment. One at a time, on one thread.
class PlayedTaskbar
{
public:
    struct Icon
    {
        HWND owner = nullptr;
        UINT id = 0;
        UINT callback = 0;
        LARGE_INTEGER shown{}; // counts of QueryPerformanceCounter
    };

    PlayedTaskbar();
    ~PlayedTaskbar();

    PlayedTaskbar(const PlayedTaskbar&) = delete;
    PlayedTaskbar& operator=(const PlayedTaskbar&) = delete;

    // The next icon that is shown; without an owner if none comes within the limit, in milliseconds.
    [[nodiscard]] Icon WaitForIcon(DWORD limit);

private:
    static LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    HWND m_window = nullptr;
    std::deque<Icon> m_icons;
};

#pragma once

#include <string>

#include <windows.h>

#include "VzComn_Handle.h"

// Fonts and brushes, which DeleteObject ends.
template <typename Object>
struct GdiHandleTraits
{
    using Type = Object;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type object) noexcept { return DeleteObject(object) != FALSE; }
};

// The console's one window: the product's name and the command line that the program was started with.
// Carries the property by which the agent finds the consoles of its session. Called on the main thread.
class ConsoleWindow
{
public:
    ConsoleWindow(HINSTANCE hInstance, std::wstring wstrProduct, std::wstring wstrCommandLine);
    ConsoleWindow(const ConsoleWindow&) = delete;
    ConsoleWindow& operator=(const ConsoleWindow&) = delete;
    ~ConsoleWindow() = default;

    // Creates and shows the window. False: the system's last error tells why.
    [[nodiscard]] bool Create(int nShow);

    // Runs until the window is closed; the exit code of the program.
    int Run();

private:
    using Brush = VzCommon::UniqueHandle<GdiHandleTraits<HBRUSH>>;
    using Font = VzCommon::UniqueHandle<GdiHandleTraits<HFONT>>;

    static LRESULT CALLBACK WindowProc(HWND hWnd, UINT uMessage, WPARAM wParam, LPARAM lParam);

    LRESULT Handle(UINT uMessage, WPARAM wParam, LPARAM lParam);
    [[nodiscard]] bool CreateInPlace();
    [[nodiscard]] bool OnCreate();
    void OnDpiChanged(UINT uDpi, const RECT& rcSuggested);
    void OnPaint();
    LRESULT OnColorText(HDC hDC) const;

    void PaintHeader(HDC hDC, int nWidth) const;
    void PaintBody(HDC hDC, const RECT& rcClient) const;
    void DrawLine(HDC hDC, HFONT hFont, COLORREF color, int nLeft, int nTop,
                  const std::wstring& wstrText) const;
    void ReplaceFonts();
    void Layout() const;
    [[nodiscard]] int Scale(int nPixels) const;

    HINSTANCE m_hInstance;
    std::wstring m_wstrProduct;
    std::wstring m_wstrCommandLine;
    std::wstring m_wstrProperty;
    HWND m_hWnd = nullptr;
    HWND m_hText = nullptr;
    Brush m_panelBrush;
    Font m_titleFont;
    Font m_labelFont;
    Font m_textFont;
    UINT m_uDpi = USER_DEFAULT_SCREEN_DPI;
};

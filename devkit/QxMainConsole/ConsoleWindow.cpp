#include "ConsoleWindow.h"

#include <utility>

#include "ObjectNames.h"
#include "resource.h"

namespace
{
constexpr wchar_t WindowClass[] = L"QxMainConsoleWindow";
constexpr UINT DpiChanged = 0x02E0; // WM_DPICHANGED, which the headers hide below Windows 8.1

// Colours and measures of the layout, in pixels at 96 dots per inch.
constexpr COLORREF HeaderColor = RGB(0x14, 0x22, 0x46);
constexpr COLORREF HeaderTextColor = RGB(0xFF, 0xFF, 0xFF);
constexpr COLORREF HeaderDimColor = RGB(0xC4, 0xD2, 0xF0);
constexpr COLORREF LabelColor = RGB(0x5B, 0x65, 0x78);
constexpr COLORREF TextColor = RGB(0x14, 0x1C, 0x2E);
constexpr COLORREF PanelColor = RGB(0xEE, 0xF2, 0xF9);
constexpr int WindowWidth = 640;
constexpr int WindowHeight = 340;
constexpr int CascadeStep = 40;
constexpr int HeaderHeight = 88;
constexpr int IconSize = 48;
constexpr int Margin = 20;
constexpr int LabelTop = HeaderHeight + Margin;
constexpr int PanelTop = LabelTop + 28;
constexpr int PanelPadding = 14;

HFONT MakeFont(int nHeight, LONG lWeight, const wchar_t* wszFace, BYTE family)
{
    return CreateFontW(-nHeight, 0, 0, 0, lWeight, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                       CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY, family, wszFace);
}

UINT ScreenDpi()
{
    HDC hScreen = GetDC(nullptr);
    const int nDpi = GetDeviceCaps(hScreen, LOGPIXELSY);
    ReleaseDC(nullptr, hScreen);
    return nDpi > 0 ? static_cast<UINT>(nDpi) : USER_DEFAULT_SCREEN_DPI;
}

// The middle of the work area, and a step to the lower right for each console that is already open.
POINT StartPosition(int nWidth, int nHeight, int nStep)
{
    constexpr int maxSteps = 6;
    RECT rcWork = {};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &rcWork, 0);
    int nOpen = 0;
    for (HWND hWnd = nullptr; (hWnd = FindWindowExW(nullptr, hWnd, WindowClass, nullptr)) != nullptr;)
    {
        ++nOpen;
    }
    const int nOffset = nStep * (nOpen % maxSteps);
    return {(rcWork.left + rcWork.right - nWidth) / 2 + nOffset,
            (rcWork.top + rcWork.bottom - nHeight) / 3 + nOffset};
}

void FillColor(HDC hDC, const RECT& rc, COLORREF color)
{
    SetDCBrushColor(hDC, color);
    FillRect(hDC, &rc, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}
} // namespace

ConsoleWindow::ConsoleWindow(HINSTANCE hInstance, std::wstring wstrProduct, std::wstring wstrCommandLine)
    : m_hInstance(hInstance), m_wstrProduct(std::move(wstrProduct)),
      m_wstrCommandLine(std::move(wstrCommandLine)), m_wstrProperty(ObjectNames::ConsoleProperty()),
      m_panelBrush(CreateSolidBrush(PanelColor))
{
}

bool ConsoleWindow::Create(int nShow)
{
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = WindowProc;
    windowClass.hInstance = m_hInstance;
    windowClass.hIcon = LoadIconW(m_hInstance, MAKEINTRESOURCEW(IDI_CONSOLE));
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.lpszClassName = WindowClass;
    if (RegisterClassExW(&windowClass) == 0)
    {
        return false;
    }
    m_uDpi = ScreenDpi();
    if (!CreateInPlace())
    {
        return false;
    }
    ShowWindow(m_hWnd, nShow);
    UpdateWindow(m_hWnd);
    return true;
}

// Consoles that start at the same time do so one after the other here, or they would lie on one another.
bool ConsoleWindow::CreateInPlace()
{
    constexpr DWORD patience = 2000;
    const VzCommon::KernelHandle turn(CreateMutexW(nullptr, FALSE, L"Local\\QxMainConsolePlace"));
    WaitForSingleObject(turn.Get(), patience);
    const std::wstring wstrTitle = m_wstrProduct + L" Console";
    const int nWidth = Scale(WindowWidth);
    const int nHeight = Scale(WindowHeight);
    const POINT position = StartPosition(nWidth, nHeight, Scale(CascadeStep));
    HWND hWnd = CreateWindowExW(0, WindowClass, wstrTitle.c_str(), WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                                position.x, position.y, nWidth, nHeight, nullptr, nullptr, m_hInstance, this);
    ReleaseMutex(turn.Get());
    return hWnd != nullptr;
}

int ConsoleWindow::Run()
{
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
    {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}

LRESULT CALLBACK ConsoleWindow::WindowProc(HWND hWnd, UINT uMessage, WPARAM wParam, LPARAM lParam)
{
    if (uMessage == WM_NCCREATE)
    {
        const auto* pCreate = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        auto* pCreated = static_cast<ConsoleWindow*>(pCreate->lpCreateParams);
        pCreated->m_hWnd = hWnd;
        SetWindowLongPtrW(hWnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(pCreated));
    }
    auto* pWindow = reinterpret_cast<ConsoleWindow*>(GetWindowLongPtrW(hWnd, GWLP_USERDATA));
    return pWindow != nullptr ? pWindow->Handle(uMessage, wParam, lParam)
                              : DefWindowProcW(hWnd, uMessage, wParam, lParam);
}

LRESULT ConsoleWindow::Handle(UINT uMessage, WPARAM wParam, LPARAM lParam)
{
    switch (uMessage)
    {
    case WM_CREATE: return OnCreate() ? 0 : -1;
    case WM_SIZE: Layout(); return 0;
    case WM_SETFOCUS: SetFocus(m_hText); return 0;
    case WM_ERASEBKGND: return 1;
    case WM_PAINT: OnPaint(); return 0;
    case WM_CTLCOLORSTATIC: return OnColorText(reinterpret_cast<HDC>(wParam));
    case DpiChanged: OnDpiChanged(HIWORD(wParam), *reinterpret_cast<const RECT*>(lParam)); return 0;
    case WM_DESTROY:
        RemovePropW(m_hWnd, m_wstrProperty.c_str());
        PostQuitMessage(0);
        return 0;
    default: return DefWindowProcW(m_hWnd, uMessage, wParam, lParam);
    }
}

bool ConsoleWindow::OnCreate()
{
    m_hText = CreateWindowExW(0, L"EDIT", m_wstrCommandLine.c_str(),
                              WS_CHILD | WS_VISIBLE | ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL, 0, 0, 0, 0,
                              m_hWnd, nullptr, m_hInstance, nullptr);
    if (m_hText == nullptr)
    {
        return false;
    }
    ReplaceFonts();
    return SetPropW(m_hWnd, m_wstrProperty.c_str(), reinterpret_cast<HANDLE>(1)) != FALSE;
}

void ConsoleWindow::OnDpiChanged(UINT uDpi, const RECT& rcSuggested)
{
    m_uDpi = uDpi;
    ReplaceFonts();
    SetWindowPos(m_hWnd, nullptr, rcSuggested.left, rcSuggested.top, rcSuggested.right - rcSuggested.left,
                 rcSuggested.bottom - rcSuggested.top, SWP_NOZORDER | SWP_NOACTIVATE);
    Layout();
}

void ConsoleWindow::OnPaint()
{
    PAINTSTRUCT paint = {};
    HDC hDC = BeginPaint(m_hWnd, &paint);
    RECT rcClient = {};
    GetClientRect(m_hWnd, &rcClient);
    SetBkMode(hDC, TRANSPARENT);
    PaintHeader(hDC, rcClient.right);
    PaintBody(hDC, rcClient);
    EndPaint(m_hWnd, &paint);
}

void ConsoleWindow::PaintHeader(HDC hDC, int nWidth) const
{
    FillColor(hDC, {0, 0, nWidth, Scale(HeaderHeight)}, HeaderColor);
    const int nIcon = Scale(IconSize);
    auto* hIcon = static_cast<HICON>(
        LoadImageW(m_hInstance, MAKEINTRESOURCEW(IDI_CONSOLE), IMAGE_ICON, nIcon, nIcon, LR_SHARED));
    DrawIconEx(hDC, Scale(Margin), Scale((HeaderHeight - IconSize) / 2), hIcon, nIcon, nIcon, 0, nullptr,
               DI_NORMAL);
    const int nText = Scale(Margin + IconSize + 16);
    DrawLine(hDC, m_titleFont.Get(), HeaderTextColor, nText, Scale(18), m_wstrProduct);
    const std::wstring wstrProcess = L"Main console, process " + std::to_wstring(GetCurrentProcessId());
    DrawLine(hDC, m_labelFont.Get(), HeaderDimColor, nText, Scale(52), wstrProcess);
}

void ConsoleWindow::PaintBody(HDC hDC, const RECT& rcClient) const
{
    FillColor(hDC, {0, Scale(HeaderHeight), rcClient.right, rcClient.bottom}, HeaderTextColor);
    FillColor(
        hDC,
        {Scale(Margin), Scale(PanelTop), rcClient.right - Scale(Margin), rcClient.bottom - Scale(Margin)},
        PanelColor);
    DrawLine(hDC, m_labelFont.Get(), LabelColor, Scale(Margin), Scale(LabelTop),
             L"Started with this command line");
}

void ConsoleWindow::DrawLine(HDC hDC, HFONT hFont, COLORREF color, int nLeft, int nTop,
                             const std::wstring& wstrText) const
{
    HGDIOBJ hPrevious = SelectObject(hDC, hFont);
    SetTextColor(hDC, color);
    TextOutW(hDC, nLeft, nTop, wstrText.c_str(), static_cast<int>(wstrText.size()));
    SelectObject(hDC, hPrevious);
}

LRESULT ConsoleWindow::OnColorText(HDC hDC) const
{
    SetTextColor(hDC, TextColor);
    SetBkColor(hDC, PanelColor);
    return reinterpret_cast<LRESULT>(m_panelBrush.Get());
}

void ConsoleWindow::ReplaceFonts()
{
    m_titleFont.Reset(MakeFont(Scale(24), FW_SEMIBOLD, L"Segoe UI", FF_SWISS));
    m_labelFont.Reset(MakeFont(Scale(14), FW_NORMAL, L"Segoe UI", FF_SWISS));
    // The control is given its next font before the one that it uses goes away.
    Font textFont(MakeFont(Scale(17), FW_NORMAL, L"Courier New", FIXED_PITCH | FF_MODERN));
    SendMessageW(m_hText, WM_SETFONT, reinterpret_cast<WPARAM>(textFont.Get()), TRUE);
    m_textFont = std::move(textFont);
}

void ConsoleWindow::Layout() const
{
    RECT rcClient = {};
    GetClientRect(m_hWnd, &rcClient);
    const int nInset = Scale(Margin + PanelPadding);
    const int nTop = Scale(PanelTop + PanelPadding);
    MoveWindow(m_hText, nInset, nTop, rcClient.right - 2 * nInset, rcClient.bottom - nInset - nTop, TRUE);
    InvalidateRect(m_hWnd, nullptr, FALSE);
}

int ConsoleWindow::Scale(int nPixels) const
{
    return MulDiv(nPixels, static_cast<int>(m_uDpi), USER_DEFAULT_SCREEN_DPI);
}

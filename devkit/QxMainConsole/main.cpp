#include <windows.h>

#include "ConsoleWindow.h"
#include "FrwkMode.h"

// A stand-in for a product's main console, started by the agent in the user's session. Several may be open.
int WINAPI wWinMain(HINSTANCE hInstance, HINSTANCE, LPWSTR, int nShow)
{
    const std::wstring wstrProductId = QxCommon::GetProductId();
    ConsoleWindow window(hInstance, wstrProductId.empty() ? L"Main" : wstrProductId, GetCommandLineW());
    if (!window.Create(nShow))
    {
        return static_cast<int>(GetLastError());
    }
    return window.Run();
}

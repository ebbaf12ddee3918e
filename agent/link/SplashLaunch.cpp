#include "SplashLaunch.h"

#include <afxwin.h>

#include <exception>
#include <memory>
#include <new>

#include "ObjectNames.h"
#include "Splash.h"
#include "ThreadStart.h"
#include "VzComn_Exception.h"
#include "VzComn_Handle.h"
#include "VzComn_LogFront.h"
#include "VzComn_Synchronize.h"
#include "resource.h"

CSplash* g_pSplash = nullptr;

namespace
{
constexpr DWORD longestSplash = 10 * 60 * 1000;

// The picture's size decides where its middle lies; nothing is seen of the bitmap itself.
void MoveToMiddleOfScreen(CSplash& splash, HBITMAP frame)
{
    BITMAP size{};
    ::GetObjectW(frame, sizeof(size), &size);
    splash.MoveWindow((::GetSystemMetrics(SM_CXSCREEN) - size.bmWidth) / 2,
                      (::GetSystemMetrics(SM_CYSCREEN) - size.bmHeight) / 2, size.bmWidth, size.bmHeight,
                      TRUE);
}

// Other processes of the product find the splash by its property. Without memory for the name they do not.
void Mark(HWND splash)
{
    try
    {
        ::SetPropW(splash, ObjectNames::SplashProperty().c_str(), reinterpret_cast<HANDLE>(1));
    }
    catch (const std::bad_alloc&)
    {
    }
}

// Until the window is closed.
void RunSplash(CSplash& splash, HBITMAP frame)
{
    splash.Create(IDD_SPLASH, nullptr);
    splash.ModifyStyleEx(WS_EX_APPWINDOW, WS_EX_TOOLWINDOW); // no button on the taskbar
    splash.ShowWindow(SW_SHOWNORMAL);
    MoveToMiddleOfScreen(splash, frame);
    Mark(splash.GetSafeHwnd());
    splash.RunModalLoop();
}

// Deliberate: whatever ends the wait ends the splash.
void WaitForSplashEvent(const VzCommon::Synchronize::Event& event)
{
    const DWORD result = ::WaitForSingleObject(event.Handle(), longestSplash);
    const DWORD lastError = ::GetLastError();
    if (result != WAIT_OBJECT_0)
    {
        const bool tellsItself = result == WAIT_ABANDONED || result == WAIT_TIMEOUT;
        LOG_ERROR << L"Wait for signal event failed with " << (tellsItself ? result : lastError);
    }
}

// Success, or why there is no thread.
AgentStatus StartSplashThread()
{
    try
    {
        StartThread(&SplashProc, nullptr);
        return Status::Success;
    }
    catch (VzCommon::Exception::Base* caught)
    {
        const std::unique_ptr<VzCommon::Exception::Base> exception(caught);
        LOG_ERROR << L"Create thread for splash failed... ErrorCode=" << exception->code;
        return Status::FromSystemError(exception->code);
    }
}

// Deliberate: without a lock. The pointer is read once; it may be null, and no window may be there yet.
HWND SplashWindow()
{
    const CSplash* const splash = g_pSplash;
    return splash != nullptr ? splash->GetSafeHwnd() : nullptr;
}

AgentStatus ShowUntilSignalled()
{
    const AgentStatus started = StartSplashThread();
    if (Status::Failed(started))
    {
        return started;
    }
    // Deliberate: made only now. A signal that came before is lost, unless somebody still holds the event.
    VzCommon::Synchronize::Event event;
    std::uint32_t error = 0;
    if (!event.CreateMultipleGlobal(ObjectNames::SplashEvent().c_str(), &error))
    {
        LOG_ERROR << L"CreateMultipleGlobal failed... ErrorCode=" << error;
        return Status::FromSystemError(error); // Deliberate: the splash stays.
    }
    WaitForSplashEvent(event);
    // Deliberate: sent to no window if the splash has none yet, and nothing closes it then.
    ::SendMessageW(SplashWindow(), WM_CLOSE, 0, 0);
    return Status::Success;
}
} // namespace

AgentStatus ShowSplash()
{
    try
    {
        return ShowUntilSignalled();
    }
    catch (const std::bad_alloc&)
    {
        LOG_ERROR << L"Show splash failed... Out of memory";
        return Status::OutOfMemory;
    }
}

unsigned __stdcall SplashProc(void* /*argument*/)
{
    std::unique_ptr<CSplash> splash(new (std::nothrow) CSplash);
    if (!splash)
    {
        LOG_ERROR << L"";
        return static_cast<unsigned>(Status::OutOfMemory);
    }
    g_pSplash = splash.get();
    const VzCommon::BitmapHandle frame(::LoadBitmapW(AfxGetInstanceHandle(), MAKEINTRESOURCEW(IDB_SPLASH)));
    AgentStatus status = Status::Success;
    try
    {
        RunSplash(*splash, frame.Get());
        LOG_INFO << L"Close Splash...";
    }
    catch (const std::bad_alloc&)
    {
        LOG_ERROR << L"Show splash failed... Out of memory";
        status = Status::OutOfMemory;
    }
    splash.reset();
    g_pSplash = nullptr;
    return static_cast<unsigned>(status);
}

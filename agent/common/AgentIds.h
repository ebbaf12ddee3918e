#pragma once

#include <windows.h>

// The numbers that other programs and the data files meet: window messages, timers, menu commands and
// event ids. None of them may change.

namespace WindowMessage
{
inline constexpr UINT NetworkMade = 0x0430;        // posted by the SENS sink and at start; wParam: type
inline constexpr UINT NetworkMadeNoQoc = 0x0431;   // posted by the SENS sink; wParam: type
inline constexpr UINT NetworkLost = 0x0432;        // posted by the SENS sink and at start; wParam: type
inline constexpr UINT TrayCallback = WM_APP + 0xA; // sent by the shell for the tray icon
} // namespace WindowMessage

// Timers of the main frame's window.
namespace FrameTimer
{
inline constexpr UINT_PTR Scan = 2;           // one second, while a scan runs
inline constexpr UINT_PTR ActiveWindow = 3;   // armed by the service
inline constexpr UINT_PTR InputInfo = 4;      // armed by the service
inline constexpr UINT_PTR TrimWorkingSet = 5; // once, half a minute after start
} // namespace FrameTimer

// Menu commands: the number in the profile plus Base.
namespace Command
{
inline constexpr UINT Base = 32789;
inline constexpr UINT Default = Base; // the icon's double-click, the menu resource's only entry
inline constexpr UINT StartMain = Base + 1;
inline constexpr UINT StartScan = Base + 2;
inline constexpr UINT ExitTray = Base + 3;
inline constexpr UINT ShowMonitorBall = Base + 4;
inline constexpr UINT ShowGameConsole = Base + 5;
} // namespace Command

// What is added to the ids of the profile's other entries.
namespace ProfileBase
{
inline constexpr UINT Tooltip = 32889;
inline constexpr UINT MsgBox = 32989;
inline constexpr UINT Icon = 33089;
} // namespace ProfileBase

// Ids of the tooltips that the profile describes.
namespace Tooltip
{
inline constexpr UINT Idle = ProfileBase::Tooltip + 1;
inline constexpr UINT Scanning = ProfileBase::Tooltip + 2; // with the scan's progress
} // namespace Tooltip

// Ids of the tray's icons.
namespace Icon
{
inline constexpr UINT Idle = ProfileBase::Icon;         // the program's own; never the profile's
inline constexpr UINT Scanning = ProfileBase::Icon + 1; // a series that the profile describes
} // namespace Icon

// Events of the service's event center.
namespace EventId
{
inline constexpr UINT StartedInModeOne = 0;
inline constexpr UINT SessionLoggedOff = 1;
inline constexpr UINT SessionConnected = 16;    // console or remote connected, unlocked
inline constexpr UINT SessionDisconnected = 17; // console or remote disconnected, locked
inline constexpr UINT StartFinished = 18;
inline constexpr UINT TrayClosing = 19;
inline constexpr UINT NetworkMade = 23;      // request of its own, with the type
inline constexpr UINT NetworkLost = 24;      // request of its own, with the type
inline constexpr UINT PowerChanged = 0x8000; // request of its own, with the kind of change
} // namespace EventId

// What changed, in a PowerChanged event.
namespace PowerEventType
{
inline constexpr int SourceChanged = 2;  // mains or battery
inline constexpr int BatteryChanged = 3; // its percentage
inline constexpr int SchemeChanged = 4;
inline constexpr int Resumed = 5; // from suspend
} // namespace PowerEventType

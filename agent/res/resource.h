// The agent's resource ids. Each names its readers; 32789 and upwards are menu commands.
#pragma once

#define IDP_OLE_INIT_FAILED 100 // text of the start's one message box
#define IDR_MAINFRAME 128       // the frame's string, icon and menu, the idle icon of the tray
#define IDR_TRAY 314            // the tray's id and its menu, whose one entry is a place holder
#define IDD_SPLASH 315          // the splash's window, all of which its picture covers
#define IDB_SPLASH 323          // the splash's size; its pixels are not used
#define IDC_SPLASH_TEXT (-1)    // nobody asks for it
#define ID_TRAY_PLACE_HOLDER 32789

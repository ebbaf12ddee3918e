#pragma once

// The log writer VzDbgLog.dll: what it exports and the record that configures it. Plain C, so that either
// side can be built by any compiler of the platform.
//
//     void* log = NULL;
//     struct VzDbgConfig config = {0};
//     wcscpy(config.logPrefix, L"qda");
//     if (VzDbgInitialize(&log, &config) == 0 && log != NULL)
//     {
//         GetLocalTime(&now);
//         VzDbgTrace(log, &now, L"...\r\n");
//         VzDbgUninitialize(log);
//     }

#include <windows.h>

#ifdef __cplusplus
#include <cstddef>
#else
#include <assert.h>
#include <stddef.h>
#endif

#define VZ_DBG_MODULE_LENGTH 32
#define VZ_DBG_FOLDER_LENGTH 260
#define VZ_DBG_NAME_LENGTH 256

// 2148 bytes, little-endian, zero where nothing is set. Lengths of strings are in 16-bit units and count the
// terminator, which is always there.
struct VzDbgConfig
{
    BYTE serviceSession; // 1 if the process runs in the session of the services, else 0
    BYTE robust;         // "Robust": 1 if a line must be in the file before its call returns, else 0
    BYTE debugger;       // "Debugger": 1 if lines also go to an attached debugger, else 0
    BYTE reserved;       // 0
    SYSTEMTIME time;     // local time at which the configuration was read
    DWORD logProcess;    // "LogProcess"
    DWORD logUnitType;   // "LogUnitType"
    WCHAR moduleName[VZ_DBG_MODULE_LENGTH];
    WCHAR logFolder[VZ_DBG_FOLDER_LENGTH];  // "LogFolder"
    WCHAR logPrefix[VZ_DBG_NAME_LENGTH];    // "LogPrefix"
    WCHAR logFile[VZ_DBG_NAME_LENGTH];      // "LogFile"
    WCHAR logExtension[VZ_DBG_NAME_LENGTH]; // "LogExtension"
};

static_assert(sizeof(WCHAR) == 2, "wide characters are 16-bit units");
static_assert(offsetof(struct VzDbgConfig, serviceSession) == 0, "layout of VzDbgConfig");
static_assert(offsetof(struct VzDbgConfig, robust) == 1, "layout of VzDbgConfig");
static_assert(offsetof(struct VzDbgConfig, debugger) == 2, "layout of VzDbgConfig");
static_assert(offsetof(struct VzDbgConfig, reserved) == 3, "layout of VzDbgConfig");
static_assert(offsetof(struct VzDbgConfig, time) == 4, "layout of VzDbgConfig");
static_assert(offsetof(struct VzDbgConfig, logProcess) == 20, "layout of VzDbgConfig");
static_assert(offsetof(struct VzDbgConfig, logUnitType) == 24, "layout of VzDbgConfig");
static_assert(offsetof(struct VzDbgConfig, moduleName) == 28, "layout of VzDbgConfig");
static_assert(offsetof(struct VzDbgConfig, logFolder) == 92, "layout of VzDbgConfig");
static_assert(offsetof(struct VzDbgConfig, logPrefix) == 612, "layout of VzDbgConfig");
static_assert(offsetof(struct VzDbgConfig, logFile) == 1124, "layout of VzDbgConfig");
static_assert(offsetof(struct VzDbgConfig, logExtension) == 1636, "layout of VzDbgConfig");
static_assert(sizeof(struct VzDbgConfig) == 2148, "layout of VzDbgConfig");

// The exports. The library is loaded at run time, so to its users these declarations are types only. A
// process may hold several logs at once; calls come from any thread, and for one log one at a time.
#ifdef __cplusplus
extern "C"
{
#endif

    // Begins a log. 0 with a handle that is not null on success; anything else, a Windows error code, is a
    // failure and leaves nothing behind. The record is read during the call only. The caller owns the handle
    // until VzDbgUninitialize.
    DWORD VzDbgInitialize(void** handle, const struct VzDbgConfig* config);

    // Writes one finished line, line break included. The time is the line's own, in local time. Both are read
    // during the call only. 0 on success; a failure loses this line alone.
    DWORD VzDbgTrace(void* handle, const SYSTEMTIME* time, const WCHAR* line);

    // Ends the log; the handle is gone whatever the result, and callers pass over the result.
    DWORD VzDbgUninitialize(void* handle);

#ifdef __cplusplus
}
#endif

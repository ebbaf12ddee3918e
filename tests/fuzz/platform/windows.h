// What the XML layer needs of the system, for a build by the host's compiler. Platform.cpp has the functions
// that it calls; the others are here for the inline code of its headers and have no body.
#pragma once

#include <cstdint>

using BOOL = int;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using HANDLE = void*;
using HLOCAL = void*;
using FARPROC = void (*)();
using HMODULE = struct LoadedLibrary*;
using HKEY = struct OpenKey*;
using SC_HANDLE = struct OpenService*;
using HMENU = struct Menu*;
using HICON = struct Icon*;
using HBITMAP = struct Bitmap*;

struct SECURITY_ATTRIBUTES
{
};

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;
inline constexpr UINT CP_THREAD_ACP = 3;
inline constexpr DWORD FILE_READ_DATA = 1;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD FILE_SHARE_DELETE = 4;
inline constexpr DWORD OPEN_ALWAYS = 4;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 128;
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(std::intptr_t{-1});

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_INVALID_DATA = 13;
inline constexpr DWORD ERROR_OUTOFMEMORY = 14;
inline constexpr DWORD ERROR_HANDLE_EOF = 38;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
inline constexpr DWORD ERROR_BAD_ARGUMENTS = 160;
inline constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
inline constexpr DWORD ERROR_NOT_FOUND = 1168;
inline constexpr DWORD ERROR_OBJECT_ALREADY_EXISTS = 5010;

DWORD GetLastError();
void SetLastError(DWORD error);

HANDLE CreateFileW(const wchar_t* name, DWORD access, DWORD sharing, SECURITY_ATTRIBUTES* attributes,
                   DWORD disposition, DWORD flags, HANDLE pattern);
BOOL ReadFile(HANDLE file, void* room, DWORD size, DWORD* count, void* overlapped);
BOOL CloseHandle(HANDLE handle);

HMODULE LoadLibraryW(const wchar_t* name);
FARPROC GetProcAddress(HMODULE library, const char* name);
BOOL FreeLibrary(HMODULE library);

int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* text, int length, char* room, int size,
                        const char* substitute, BOOL* isSubstituted);

BOOL FindClose(HANDLE search);
DWORD RegCloseKey(HKEY key);
BOOL CloseServiceHandle(SC_HANDLE service);
HLOCAL LocalFree(HLOCAL memory);
BOOL DestroyMenu(HMENU menu);
BOOL DestroyIcon(HICON icon);
BOOL DeleteObject(void* object);

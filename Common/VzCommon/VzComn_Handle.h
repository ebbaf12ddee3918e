#pragma once

#include <windows.h>

namespace VzCommon
{

// Owns one system handle and closes it. The traits name the handle's type, its empty value and its closing
// function, so a handle of one kind cannot be closed as another. Closing on the way out of a scope keeps the
// caller's last error.
template <typename Traits>
class UniqueHandle
{
public:
    using Type = typename Traits::Type;

    UniqueHandle() = default;

    explicit UniqueHandle(Type owned) noexcept : m_handle(owned) {}

    ~UniqueHandle() { Reset(); }

    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;

    UniqueHandle(UniqueHandle&& other) noexcept : m_handle(other.Release()) {}

    UniqueHandle& operator=(UniqueHandle&& other) noexcept
    {
        if (this != &other)
        {
            Reset(other.Release());
        }
        return *this;
    }

    [[nodiscard]] Type Get() const noexcept { return m_handle; }

    explicit operator bool() const noexcept { return m_handle != Traits::Empty(); }

    // Gives the handle up without closing it.
    [[nodiscard]] Type Release() noexcept
    {
        Type released = m_handle;
        m_handle = Traits::Empty();
        return released;
    }

    // Closes what is owned and takes over the new handle. A refused close is ignored.
    void Reset(Type owned = Traits::Empty()) noexcept
    {
        if (m_handle != Traits::Empty())
        {
            const DWORD lastError = GetLastError();
            Traits::Close(m_handle);
            SetLastError(lastError);
        }
        m_handle = owned;
    }

    // Closes at once. False if nothing is owned, or if the system refuses: the handle then stays owned and
    // the last error says why.
    [[nodiscard]] bool Close() noexcept
    {
        if (m_handle == Traits::Empty() || !Traits::Close(m_handle))
        {
            return false;
        }
        m_handle = Traits::Empty();
        return true;
    }

    // For functions that hand a handle out through a pointer. Closes what was owned before.
    [[nodiscard]] Type* Put() noexcept
    {
        Reset();
        return &m_handle;
    }

private:
    Type m_handle = Traits::Empty();
};

// Events, mutexes, threads, processes, tokens, mappings: what is null when it could not be had.
struct KernelHandleTraits
{
    using Type = HANDLE;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type handle) noexcept { return CloseHandle(handle) != FALSE; }
};

// Files and pipes, whose failure value is INVALID_HANDLE_VALUE.
struct FileHandleTraits
{
    using Type = HANDLE;

    static Type Empty() noexcept { return INVALID_HANDLE_VALUE; }

    static bool Close(Type handle) noexcept { return CloseHandle(handle) != FALSE; }
};

struct FindHandleTraits
{
    using Type = HANDLE;

    static Type Empty() noexcept { return INVALID_HANDLE_VALUE; }

    static bool Close(Type handle) noexcept { return FindClose(handle) != FALSE; }
};

struct RegistryKeyTraits
{
    using Type = HKEY;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type key) noexcept { return RegCloseKey(key) == ERROR_SUCCESS; }
};

struct ServiceHandleTraits
{
    using Type = SC_HANDLE;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type handle) noexcept { return CloseServiceHandle(handle) != FALSE; }
};

struct ModuleHandleTraits
{
    using Type = HMODULE;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type module) noexcept { return FreeLibrary(module) != FALSE; }
};

struct LocalMemoryTraits
{
    using Type = HLOCAL;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type memory) noexcept { return LocalFree(memory) == nullptr; }
};

struct MenuHandleTraits
{
    using Type = HMENU;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type menu) noexcept { return DestroyMenu(menu) != FALSE; }
};

struct IconHandleTraits
{
    using Type = HICON;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type icon) noexcept { return DestroyIcon(icon) != FALSE; }
};

struct BitmapHandleTraits
{
    using Type = HBITMAP;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type bitmap) noexcept { return DeleteObject(bitmap) != FALSE; }
};

using KernelHandle = UniqueHandle<KernelHandleTraits>;
using FileHandle = UniqueHandle<FileHandleTraits>;
using FindHandle = UniqueHandle<FindHandleTraits>;
using RegistryKey = UniqueHandle<RegistryKeyTraits>;
using ServiceHandle = UniqueHandle<ServiceHandleTraits>;
using ModuleHandle = UniqueHandle<ModuleHandleTraits>;
using LocalMemory = UniqueHandle<LocalMemoryTraits>;
using MenuHandle = UniqueHandle<MenuHandleTraits>;
using IconHandle = UniqueHandle<IconHandleTraits>;
using BitmapHandle = UniqueHandle<BitmapHandleTraits>;

} // namespace VzCommon

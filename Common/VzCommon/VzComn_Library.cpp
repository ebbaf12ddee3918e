#include "VzComn_Library.h"

#include "VzComn_Error.h"

#include <cstdlib>
#include <memory>

namespace VzCommon::Library
{

namespace
{

// Exports are named in narrow text. Nearly every name fits the buffer on the stack.
class NarrowName
{
public:
    explicit NarrowName(const wchar_t* name)
    {
        if (name == nullptr || *name == L'\0')
        {
            return;
        }
        if (Convert(name, buffer, sizeof(buffer)))
        {
            text = buffer;
        }
        else if (GetLastError() == ERROR_INSUFFICIENT_BUFFER)
        {
            ConvertOnHeap(name);
        }
    }

    // Null for a name that has no narrow form.
    [[nodiscard]] const char* Get() const { return text; }

private:
    static bool Convert(const wchar_t* name, char* target, int size)
    {
        return WideCharToMultiByte(CP_THREAD_ACP, 0, name, -1, target, size, nullptr, nullptr) > 0;
    }

    void ConvertOnHeap(const wchar_t* name)
    {
        const int size = WideCharToMultiByte(CP_THREAD_ACP, 0, name, -1, nullptr, 0, nullptr, nullptr);
        if (size <= 0)
        {
            return;
        }
        heap.reset(static_cast<char*>(std::calloc(static_cast<size_t>(size), sizeof(char))));
        if (heap && Convert(name, heap.get(), size))
        {
            text = heap.get();
        }
    }

    struct Free
    {
        void operator()(char* memory) const { std::free(memory); }
    };

    char buffer[128]{};
    std::unique_ptr<char, Free> heap;
    const char* text = nullptr;
};

} // namespace

bool Base::Load(const wchar_t* fileName, const void* /*ignored*/, std::uint32_t* error)
{
    if (fileName == nullptr)
    {
        return Fail(error, ERROR_BAD_ARGUMENTS);
    }
    if (module)
    {
        return Fail(error, ERROR_OBJECT_ALREADY_EXISTS);
    }
    module.Reset(LoadLibraryW(fileName));
    return module ? Succeed(error) : Fail(error, GetLastError());
}

bool Base::Unload(std::uint32_t* error)
{
    if (!module)
    {
        return Fail(error, ERROR_INVALID_HANDLE);
    }
    return module.Close() ? Succeed(error) : Fail(error, GetLastError());
}

FARPROC Base::Resolve(const wchar_t* name, std::uint32_t* error) const
{
    if (!module)
    {
        Fail(error, ERROR_INVALID_HANDLE);
        return nullptr;
    }
    const NarrowName narrow(name);
    if (narrow.Get() == nullptr)
    {
        Fail(error, ERROR_BAD_ARGUMENTS);
        return nullptr;
    }
    const FARPROC address = GetProcAddress(module.Get(), narrow.Get());
    Report(error, address != nullptr ? ERROR_SUCCESS : GetLastError(), address != nullptr);
    return address;
}

} // namespace VzCommon::Library

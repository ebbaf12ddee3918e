#pragma once

#include "ImportPatch.h"

#include <windows.h>

#include <map>
#include <string>

namespace TestSupport
{

// Replaces what this test program gets when it asks a library for an export by name. A null address makes the
// export missing.
class FakeExports
{
public:
    FakeExports() : m_patch(nullptr, "GetProcAddress", &Answer)
    {
        s_fakes.clear();
        s_original = m_patch.Original<std::remove_pointer_t<decltype(&GetProcAddress)>>();
    }

    template <typename Function>
    void Set(const std::string& name, Function* fake)
    {
        s_fakes[name] = reinterpret_cast<FARPROC>(reinterpret_cast<void*>(fake));
    }

    void Remove(const std::string& name) { s_fakes[name] = nullptr; }

private:
    static FARPROC WINAPI Answer(HMODULE module, const char* name)
    {
        const auto fake = s_fakes.find(name);
        if (fake == s_fakes.end())
        {
            return s_original(module, name);
        }
        if (fake->second == nullptr)
        {
            SetLastError(ERROR_PROC_NOT_FOUND);
        }
        return fake->second;
    }

    static inline std::map<std::string, FARPROC> s_fakes;
    static inline decltype(&GetProcAddress) s_original = nullptr;

    ImportPatch m_patch;
};

} // namespace TestSupport

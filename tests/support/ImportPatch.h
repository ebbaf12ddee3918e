#pragma once

#include <windows.h>

#include <vector>

namespace TestSupport
{

// Replaces an imported function of one module, the test program by default, for the length of a scope:
//
//     ImportPatch patch(L"kernel32.dll", "Sleep", &FakeSleep);
//     ImportPatch patch(nullptr, "Sleep", &FakeSleep);             // whichever library it comes from
//
// All import descriptors of the library are covered. Throws std::runtime_error if the module does not import
// the function: the test would otherwise prove nothing. A function that is running may have taken the
// address already: let the calls under test stand in functions of their own.
class ImportPatch
{
public:
    template <typename Function>
    ImportPatch(const wchar_t* library, const char* function, Function* fake,
                HMODULE module = GetModuleHandleW(nullptr))
    {
        Apply(library, function, reinterpret_cast<ULONG_PTR>(fake), module);
    }

    ~ImportPatch();

    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

    // What the fake stands for, to be called from it.
    template <typename Function>
    [[nodiscard]] Function* Original() const
    {
        return reinterpret_cast<Function*>(m_replaced.front().original);
    }

private:
    struct Replaced
    {
        ULONG_PTR* slot;
        ULONG_PTR original;
    };

    void Apply(const wchar_t* library, const char* function, ULONG_PTR fake, HMODULE module);

    std::vector<Replaced> m_replaced;
};

} // namespace TestSupport

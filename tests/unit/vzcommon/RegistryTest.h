#pragma once

#include "TempRegistry.h"
#include "Thrown.h"
#include "VzComn_Registry.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using TestSupport::TempRegistry;
using TestSupport::Thrown;
using namespace VzCommon::Storage;

// The class, where the namespace has a function of another kind by that name.
using VzCommon::Storage::Registry;

using Names = std::vector<std::wstring>;
using StoreException = VzCommon::Storage::Exception;

inline constexpr wchar_t subkey[] = L"Software\\Test";

class RegistryTest : public testing::Test
{
protected:
    static Key TestKey() { return Key::ForRegistry(HKEY_LOCAL_MACHINE, subkey); }

    // A value below the test key.
    void Set(const std::wstring& name, DWORD type, const void* data, size_t size) const
    {
        hive.SetValue(HKEY_LOCAL_MACHINE, subkey, name, type, data, size);
    }

    void Set(const std::wstring& name, DWORD type, const std::wstring& text) const
    {
        Set(name, type, text.data(), text.size() * sizeof(wchar_t));
    }

    template <typename Operation>
    static std::uint32_t CodeOf(Operation operation)
    {
        const auto exception = Thrown<StoreException>(operation);
        return exception ? exception->code : 0xFFFFFFFFU;
    }

    TempRegistry hive;
    Registry store;
};

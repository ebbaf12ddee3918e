#pragma once

#include <windows.h>

#include <oleauto.h>

#include "VzComn_Handle.h"

// One reference to a COM object.
template <typename Interface>
struct ComReferenceTraits
{
    using Type = Interface*;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type object) noexcept
    {
        object->Release();
        return true;
    }
};

// A string of COM; null as well where there was no memory for one.
struct ComStringTraits
{
    using Type = BSTR;

    static Type Empty() noexcept { return nullptr; }

    static bool Close(Type text) noexcept
    {
        SysFreeString(text);
        return true;
    }
};

template <typename Interface>
using ComReference = VzCommon::UniqueHandle<ComReferenceTraits<Interface>>;
using ComString = VzCommon::UniqueHandle<ComStringTraits>;

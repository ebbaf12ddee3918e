#pragma once

#include "VzComn_XmlElement.h"

#include <windows.h>

#include <cwchar>

// A number of the profile: decimal, hexadecimal behind "0x", octal behind "0"; 0 for what is no number.
[[nodiscard]] inline UINT ProfileNumber(const VzCommon::Storage::XmlElement& element,
                                        const wchar_t* attribute)
{
    return std::wcstoul(element.GetAttribute(attribute).c_str(), nullptr, 0);
}

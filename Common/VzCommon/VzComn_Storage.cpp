#include "VzComn_Storage.h"

#include "VzComn_Error.h"

namespace VzCommon::Storage
{

bool Base::OpenWrite(const Key& /*key*/, const std::wstring& /*section*/)
{
    return false;
}

bool Base::OpenEnum(const Key& /*key*/, const std::wstring& /*section*/)
{
    return false;
}

// Deliberate: the readers here hand back the default without reading, and a store that has no others of its
// own does the same.
std::uint32_t Base::GetBinaryNoThrow(const std::wstring& /*name*/, std::vector<std::uint8_t>& /*buffer*/,
                                     std::uint32_t* error)
{
    Succeed(error);
    return 0;
}

std::uint32_t Base::GetBinary(const std::wstring& /*name*/, std::vector<std::uint8_t>& /*buffer*/)
{
    return 0;
}

std::wstring Base::GetStringNoThrow(const std::wstring& /*name*/, const std::wstring& defaultValue,
                                    std::uint32_t* error)
{
    Succeed(error);
    return defaultValue;
}

std::uint64_t Base::GetQwordNoThrow(const std::wstring& /*name*/, std::uint64_t /*defaultValue*/,
                                    std::uint32_t* error)
{
    Succeed(error);
    return 0;
}

std::uint64_t Base::GetQword(const std::wstring& /*name*/)
{
    return 0;
}

std::uint32_t Base::GetDwordNoThrow(const std::wstring& /*name*/, std::uint32_t defaultValue,
                                    std::uint32_t* error)
{
    Succeed(error);
    return defaultValue;
}

bool Base::SetBinary(const std::wstring& /*name*/, const std::vector<std::uint8_t>& /*buffer*/)
{
    return false;
}

bool Base::SetQword(const std::wstring& /*name*/, std::uint64_t /*value*/)
{
    return false;
}

bool Base::DeleteValue(const wchar_t* name)
{
    return DeleteValue(std::wstring(name != nullptr ? name : L""));
}

} // namespace VzCommon::Storage

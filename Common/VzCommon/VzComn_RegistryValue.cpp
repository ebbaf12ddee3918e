#include "VzComn_RegistryValue.h"

#include "VzComn_NoThrow.h"
#include "VzComn_OsVersion.h"

namespace VzCommon::Storage
{

namespace
{

std::uint32_t ViewOrNative(std::uint32_t view)
{
    if (view != RegistryView::Default)
    {
        return view;
    }
    return IsNative64() ? RegistryView::Bits64 : RegistryView::Default;
}

// Opens, reads and closes. The destructor closes after a failure.
template <typename Read>
auto ReadFrom(HKEY root, const std::wstring& subkey, std::uint32_t view, Read read)
{
    Registry store(ViewOrNative(view));
    store.Open(Key::ForRegistry(root, nullptr), subkey);
    auto value = read(store);
    store.Close(nullptr);
    return value;
}

} // namespace

std::uint32_t ReadRegistryDword(const std::wstring& subkey, const std::wstring& name,
                                const std::uint32_t* defaultValue, std::uint32_t view,
                                std::uint32_t* error) noexcept
{
    const std::uint32_t fallback = defaultValue != nullptr ? *defaultValue : 0;
    return NoThrow(fallback, error,
                   [&]
                   {
                       return ReadFrom(HKEY_LOCAL_MACHINE, subkey, view,
                                       [&](Registry& store) { return store.GetDword(name, fallback); });
                   });
}

std::wstring ReadRegistryString(HKEY root, const std::wstring& subkey, const std::wstring& name,
                                const std::wstring& defaultValue, std::uint32_t view,
                                std::uint32_t* error) noexcept
{
    std::wstring value;
    NoThrow(false, error,
            [&]
            {
                value = defaultValue; // here, as the copy may throw too
                value = ReadFrom(root, subkey, view,
                                 [&](Registry& store) { return store.GetString(name, defaultValue); });
                return true;
            });
    return value;
}

} // namespace VzCommon::Storage

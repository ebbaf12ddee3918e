#include "VzComn_Registry.h"

#include "VzComn_NoThrow.h"
#include "VzComn_SecurityAttributes.h"
#include "VzComn_String.h"

#include <exception>
#include <limits>

namespace VzCommon::Storage
{

namespace
{

// Deliberate: an opening that fails names these lines, which are numbers of its contract and not of this
// source.
namespace OpeningLine
{
constexpr std::uint32_t Open = 62;
constexpr std::uint32_t Create = 129;
constexpr std::uint32_t OpenWrite = 202;
constexpr std::uint32_t OpenEnum = 244;
} // namespace OpeningLine

constexpr REGSAM readAccess = KEY_QUERY_VALUE;
constexpr REGSAM createAccess = KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_CREATE_SUB_KEY;
constexpr REGSAM writeAccess = KEY_SET_VALUE | DELETE;
constexpr REGSAM enumerateAccess = KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS;

constexpr DWORD nameRoom = 255; // terminator included

void Check(LSTATUS status, std::uint32_t line)
{
    if (status != ERROR_SUCCESS)
    {
        throw new Exception(static_cast<std::uint32_t>(status), line, __FILE__);
    }
}

HKEY RootOf(const Key& store, std::uint32_t line)
{
    if (store.first == nullptr)
    {
        throw new Exception(ERROR_INVALID_HANDLE, line, __FILE__);
    }
    return reinterpret_cast<HKEY>(const_cast<wchar_t*>(store.first));
}

// A "\" behind an empty subkey would make the path begin with one, which no key's does.
std::wstring PathOf(const Key& store, const std::wstring& section)
{
    return String::EnsureBackslash(store.second != nullptr ? store.second : L"") + section;
}

template <typename Buffer>
void Reserve(Buffer& buffer, std::size_t count)
{
    try
    {
        buffer.assign(count, {});
    }
    catch (const std::exception&) // no memory, or more than any buffer holds
    {
        VZ_THROW(Exception, ERROR_INVALID_HANDLE);
    }
}

// What RegEnumKeyExW and RegEnumValueW have in common.
template <typename Enumerate>
void ListNames(std::vector<std::wstring>& names, Enumerate enumerate)
{
    for (DWORD index = 0;; ++index)
    {
        wchar_t name[nameRoom];
        DWORD length = nameRoom;
        const LSTATUS status = enumerate(index, name, &length);
        if (status == ERROR_NO_MORE_ITEMS)
        {
            return;
        }
        Check(status, __LINE__);
        names.emplace_back(name, length);
    }
}

} // namespace

REGSAM Registry::Access(REGSAM mask) const
{
    switch (view)
    {
    case RegistryView::Bits32: return mask | KEY_WOW64_32KEY;
    case RegistryView::Bits64: return mask | KEY_WOW64_64KEY;
    default: return mask;
    }
}

bool Registry::Open(const Key& store, const std::wstring& section)
{
    OpenExisting(store, section, readAccess, OpeningLine::Open);
    return true;
}

bool Registry::Create(const Key& store, const std::wstring& section)
{
    const HKEY newRoot = RootOf(store, OpeningLine::Create);
    std::wstring newPath = PathOf(store, section);
    AccessControl::SecurityAttributes attributes(AccessControl::Kind::RegistryKey, false);
    RegistryKey newKey;
    Check(RegCreateKeyExW(newRoot, newPath.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, Access(createAccess),
                          attributes.ForCreation(), newKey.Put(), nullptr),
          OpeningLine::Create);
    Adopt(newRoot, std::move(newKey), std::move(newPath));
    return true;
}

bool Registry::OpenWrite(const Key& store, const std::wstring& section)
{
    OpenExisting(store, section, writeAccess, OpeningLine::OpenWrite);
    return true;
}

bool Registry::OpenEnum(const Key& store, const std::wstring& section)
{
    OpenExisting(store, section, enumerateAccess, OpeningLine::OpenEnum);
    return true;
}

void Registry::OpenExisting(const Key& store, const std::wstring& section, REGSAM mask, std::uint32_t line)
{
    const HKEY newRoot = RootOf(store, line);
    std::wstring newPath = PathOf(store, section);
    RegistryKey newKey;
    Check(RegOpenKeyExW(newRoot, newPath.c_str(), 0, Access(mask), newKey.Put()), line);
    Adopt(newRoot, std::move(newKey), std::move(newPath));
}

void Registry::Adopt(HKEY newRoot, RegistryKey newKey, std::wstring newPath)
{
    root = newRoot;
    key = std::move(newKey);
    path = std::move(newPath);
}

void Registry::RequireOpen() const
{
    if (root == nullptr || !key)
    {
        VZ_THROW(Exception, ERROR_INVALID_HANDLE);
    }
}

bool Registry::Close(const bool* flush)
{
    RequireOpen();
    if (flush != nullptr && *flush)
    {
        Flush();
    }
    if (!key.Close())
    {
        VZ_THROW(Exception, ERROR_INVALID_HANDLE);
    }
    root = nullptr;
    path.clear();
    return true;
}

bool Registry::Flush()
{
    RequireOpen();
    Check(RegFlushKey(key.Get()), __LINE__);
    return true;
}

std::uint32_t Registry::GetBinaryNoThrow(const std::wstring& name, std::vector<std::uint8_t>& buffer,
                                         std::uint32_t* error)
{
    return NoThrow(std::uint32_t{0}, error, [&] { return GetBinary(name, buffer); });
}

std::uint32_t Registry::GetBinary(const std::wstring& name, std::vector<std::uint8_t>& buffer)
{
    RequireOpen();
    DWORD type = REG_NONE;
    DWORD size = 0;
    LSTATUS status = RegQueryValueExW(key.Get(), name.c_str(), nullptr, &type, nullptr, &size);
    if (status == ERROR_SUCCESS && type != REG_BINARY)
    {
        status = ERROR_INVALID_DATA;
    }
    std::vector<std::uint8_t> read;
    if (status == ERROR_SUCCESS)
    {
        Reserve(read, size);
        status = RegQueryValueExW(key.Get(), name.c_str(), nullptr, nullptr, read.data(), &size);
    }
    if (status != ERROR_SUCCESS)
    {
        VZ_THROW(RegException, static_cast<std::uint32_t>(status), path, name);
    }
    read.resize(size);
    buffer = std::move(read);
    return size;
}

std::wstring Registry::GetStringNoThrow(const std::wstring& name, const std::wstring& defaultValue,
                                        std::uint32_t* error)
{
    return NoThrow(defaultValue, error, [&] { return GetString(name, defaultValue); });
}

std::wstring Registry::GetString(const std::wstring& name, const std::wstring& /*defaultValue*/)
{
    RequireOpen();
    DWORD type = REG_NONE;
    DWORD size = 0;
    LSTATUS status = RegQueryValueExW(key.Get(), name.c_str(), nullptr, &type, nullptr, &size);
    if (status == ERROR_SUCCESS && type != REG_SZ && type != REG_EXPAND_SZ && type != REG_MULTI_SZ)
    {
        status = ERROR_INVALID_DATA;
    }
    std::vector<wchar_t> text;
    if (status == ERROR_SUCCESS)
    {
        // The registry holds what was written: an odd number of bytes, or no terminator.
        Reserve(text, (std::size_t{size} + 1) / sizeof(wchar_t) + 1);
        status = RegQueryValueExW(key.Get(), name.c_str(), nullptr, nullptr,
                                  reinterpret_cast<BYTE*>(text.data()), &size);
    }
    if (status != ERROR_SUCCESS)
    {
        VZ_THROW(RegException, static_cast<std::uint32_t>(status), path, name);
    }
    return text.data();
}

void Registry::ReadNumber(const std::wstring& name, DWORD wantedType, void* value, DWORD size) const
{
    RequireOpen();
    DWORD type = REG_NONE;
    DWORD found = size;
    LSTATUS status =
        RegQueryValueExW(key.Get(), name.c_str(), nullptr, &type, static_cast<BYTE*>(value), &found);
    const bool fits = status == ERROR_SUCCESS && type == wantedType && found == size;
    if (!fits && (status == ERROR_SUCCESS || status == ERROR_MORE_DATA))
    {
        status = ERROR_INVALID_DATA;
    }
    if (status != ERROR_SUCCESS)
    {
        VZ_THROW(RegException, static_cast<std::uint32_t>(status), path, name);
    }
}

std::uint64_t Registry::GetQwordNoThrow(const std::wstring& name, std::uint64_t defaultValue,
                                        std::uint32_t* error)
{
    return NoThrow(defaultValue, error, [&] { return GetQword(name); });
}

std::uint64_t Registry::GetQword(const std::wstring& name)
{
    std::uint64_t value = 0;
    ReadNumber(name, REG_QWORD, &value, sizeof(value));
    return value;
}

std::uint32_t Registry::GetDwordNoThrow(const std::wstring& name, std::uint32_t defaultValue,
                                        std::uint32_t* error)
{
    return NoThrow(defaultValue, error, [&] { return GetDword(name, defaultValue); });
}

std::uint32_t Registry::GetDword(const std::wstring& name, std::uint32_t /*defaultValue*/)
{
    std::uint32_t value = 0;
    ReadNumber(name, REG_DWORD, &value, sizeof(value));
    return value;
}

void Registry::Write(const std::wstring& name, DWORD type, const void* data, std::size_t size) const
{
    RequireOpen();
    if (size > std::numeric_limits<DWORD>::max())
    {
        VZ_THROW(RegException, ERROR_INVALID_HANDLE, path, name);
    }
    const LSTATUS status = RegSetValueExW(key.Get(), name.c_str(), 0, type, static_cast<const BYTE*>(data),
                                          static_cast<DWORD>(size));
    if (status != ERROR_SUCCESS)
    {
        VZ_THROW(RegException, static_cast<std::uint32_t>(status), path, name);
    }
}

bool Registry::SetBinary(const std::wstring& name, const std::vector<std::uint8_t>& buffer)
{
    Write(name, REG_BINARY, buffer.data(), buffer.size());
    return true;
}

bool Registry::SetString(const std::wstring& name, const std::wstring& value)
{
    Write(name, REG_SZ, value.c_str(), (value.size() + 1) * sizeof(wchar_t));
    return true;
}

bool Registry::SetQword(const std::wstring& name, std::uint64_t value)
{
    Write(name, REG_QWORD, &value, sizeof(value));
    return true;
}

bool Registry::SetDword(const std::wstring& name, std::uint32_t value)
{
    Write(name, REG_DWORD, &value, sizeof(value));
    return true;
}

bool Registry::DeleteSection()
{
    RequireOpen();
    // By the open key, not by root and path: the handle remembers its view.
    Check(RegDeleteKeyW(key.Get(), L""), __LINE__);
    return true;
}

bool Registry::DeleteValue(const std::wstring& name)
{
    RequireOpen();
    const LSTATUS status = RegDeleteValueW(key.Get(), name.c_str());
    if (status != ERROR_SUCCESS)
    {
        VZ_THROW(RegException, static_cast<std::uint32_t>(status), path, name);
    }
    return true;
}

bool Registry::ListSections(std::vector<std::wstring>& names)
{
    RequireOpen();
    ListNames(names, [this](DWORD index, wchar_t* name, DWORD* length)
              { return RegEnumKeyExW(key.Get(), index, name, length, nullptr, nullptr, nullptr, nullptr); });
    return true;
}

bool Registry::ListValues(std::vector<std::wstring>& names)
{
    RequireOpen();
    ListNames(names, [this](DWORD index, wchar_t* name, DWORD* length)
              { return RegEnumValueW(key.Get(), index, name, length, nullptr, nullptr, nullptr, nullptr); });
    return true;
}

} // namespace VzCommon::Storage

#pragma once

#include "VzComn_Exception.h"

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace VzCommon::Storage
{

// What kind of store a key names.
namespace KeyType
{
inline constexpr std::uint32_t Registry = 0;
inline constexpr std::uint32_t IniFile = 1;
inline constexpr std::uint32_t RegistryToo = 4; // Deliberate: the same store under a second number.
} // namespace KeyType

// Names a store. What it points to has to outlive it.
struct Key
{
    Key(std::uint32_t storeType, const wchar_t* firstPart, const wchar_t* secondPart)
        : type(storeType), first(firstPart), second(secondPart)
    {
    }

    virtual ~Key() = default;

    Key(const Key&) = default;
    Key& operator=(const Key&) = default;

    // The file name may begin with a "\".
    static Key ForIniFile(const wchar_t* folder, const wchar_t* fileName)
    {
        return {KeyType::IniFile, folder, fileName};
    }

    static Key ForRegistry(HKEY root, const wchar_t* subkey)
    {
        return {KeyType::Registry, reinterpret_cast<const wchar_t*>(root), subkey};
    }

    std::uint32_t type;
    const wchar_t* first;  // Weak. The folder of an ini file, or the HKEY of the root.
    const wchar_t* second; // Weak. The file's name, or the subkey; null counts as empty.
};

// Thrown and deleted as every exception of the library.
class Exception : public VzCommon::Exception::Base
{
public:
    using Base::Base;
};

// A failure at one registry value.
class RegException : public Exception
{
public:
    RegException(std::uint32_t errorCode, std::uint32_t sourceLine, std::string file, std::wstring path,
                 std::wstring name)
        : Exception(errorCode, sourceLine, std::move(file)), keyPath(std::move(path)),
          valueName(std::move(name))
    {
    }

    const std::wstring keyPath;
    const std::wstring valueName;
};

// A section of named values. Belongs to one thread. Closed until Open or one of its like succeeds; may be
// opened again after Close. Operations throw Exception, after which the store is as open as before, unless
// they are called NoThrow: these give the default and put the code into error, which may be null. What a
// store does not supply stays as it is here: empty, or a harmless default.
//
//     IniFile file;
//     file.Open(Key::ForIniFile(folder.c_str(), L"\\vzdbg.ini"), L"InteractiveSession");
//     const std::uint32_t level = file.GetDword(L"Level", 0x100);
class Base
{
public:
    Base() = default;
    virtual ~Base() = default;

    Base(const Base&) = delete;
    Base& operator=(const Base&) = delete;

    virtual bool Open(const Key& key, const std::wstring& section) = 0;
    virtual bool Create(const Key& key, const std::wstring& section) = 0;
    virtual bool OpenWrite(const Key& key, const std::wstring& section);
    virtual bool OpenEnum(const Key& key, const std::wstring& section);

    // Flushes first if flush points to true. Null means no flush.
    virtual bool Close(const bool* flush) = 0;
    virtual bool Flush() = 0;

    // The number of bytes.
    virtual std::uint32_t GetBinaryNoThrow(const std::wstring& name, std::vector<std::uint8_t>& buffer,
                                           std::uint32_t* error);
    virtual std::uint32_t GetBinary(const std::wstring& name, std::vector<std::uint8_t>& buffer);
    virtual std::wstring GetStringNoThrow(const std::wstring& name, const std::wstring& defaultValue,
                                          std::uint32_t* error);
    virtual std::wstring GetString(const std::wstring& name, const std::wstring& defaultValue) = 0;
    virtual std::uint64_t GetQwordNoThrow(const std::wstring& name, std::uint64_t defaultValue,
                                          std::uint32_t* error);
    virtual std::uint64_t GetQword(const std::wstring& name);
    virtual std::uint32_t GetDwordNoThrow(const std::wstring& name, std::uint32_t defaultValue,
                                          std::uint32_t* error);
    virtual std::uint32_t GetDword(const std::wstring& name, std::uint32_t defaultValue) = 0;

    virtual bool SetBinary(const std::wstring& name, const std::vector<std::uint8_t>& buffer);
    virtual bool SetString(const std::wstring& name, const std::wstring& value) = 0;
    virtual bool SetQword(const std::wstring& name, std::uint64_t value);
    virtual bool SetDword(const std::wstring& name, std::uint32_t value) = 0;

    virtual bool DeleteSection() = 0;
    virtual bool DeleteValue(const wchar_t* name); // null counts as empty
    virtual bool DeleteValue(const std::wstring& name) = 0;

    // These append to names.
    virtual bool ListSections(std::vector<std::wstring>& names) = 0;
    virtual bool ListValues(std::vector<std::wstring>& names) = 0;
};

} // namespace VzCommon::Storage

#include "VzComn_IniFile.h"

#include "VzComn_String.h"

#include <algorithm>
#include <exception>
#include <memory>

namespace VzCommon::Storage
{

namespace
{

// Room for a text, in characters, and by how much it grows.
constexpr DWORD firstRoom = 256;
constexpr DWORD roomStep = 256;

// Calls read with more and more room until the text did not fill it. A text that was cut has the room's
// length less the terminators.
template <typename Read>
std::wstring ReadGrowing(DWORD terminators, Read read)
{
    std::wstring text;
    for (DWORD room = firstRoom;; room += roomStep)
    {
        try
        {
            text.resize(room);
        }
        catch (const std::exception&) // no memory
        {
            VZ_THROW(Exception, ERROR_INVALID_HANDLE);
        }
        const DWORD length = read(text.data(), room);
        if (length < room - terminators)
        {
            text.resize(length);
            return text;
        }
    }
}

// The names are each followed by a null.
void AppendNames(const std::wstring& list, std::vector<std::wstring>& names)
{
    for (std::size_t begin = 0; begin < list.size();)
    {
        const std::size_t end = std::min(list.find(L'\0', begin), list.size());
        if (end > begin)
        {
            names.push_back(list.substr(begin, end - begin));
        }
        begin = end + 1;
    }
}

std::wstring PathOf(const Key& store)
{
    const std::wstring folder = store.first != nullptr ? store.first : L"";
    const std::wstring file = store.second != nullptr ? store.second : L"";
    return file.starts_with(L'\\') ? folder + file : String::EnsureBackslash(folder) + file;
}

} // namespace

bool IniFile::Open(const Key& store, const std::wstring& sectionName)
{
    std::wstring newPath = PathOf(store);
    if (newPath.empty() || sectionName.empty())
    {
        VZ_THROW(Exception, ERROR_BAD_ARGUMENTS);
    }
    path = std::move(newPath);
    section = sectionName;
    return true;
}

bool IniFile::Create(const Key& store, const std::wstring& sectionName)
{
    return Open(store, sectionName);
}

void IniFile::RequireOpen() const
{
    if (path.empty() || section.empty())
    {
        VZ_THROW(Exception, ERROR_INVALID_HANDLE);
    }
}

void IniFile::RequireName(const std::wstring& name) const
{
    RequireOpen();
    if (name.empty())
    {
        VZ_THROW(Exception, ERROR_BAD_ARGUMENTS);
    }
}

bool IniFile::Close(const bool* flush)
{
    if (flush != nullptr && *flush)
    {
        Flush();
    }
    path.clear();
    section.clear();
    return true;
}

bool IniFile::Flush()
{
    if (path.empty())
    {
        VZ_THROW(Exception, ERROR_INVALID_HANDLE);
    }
    if (!WritePrivateProfileStringW(nullptr, nullptr, nullptr, path.c_str()))
    {
        VZ_THROW(Exception, GetLastError());
    }
    return true;
}

std::wstring IniFile::GetString(const std::wstring& name, const std::wstring& defaultValue)
{
    RequireName(name);
    return ReadGrowing(1,
                       [&](wchar_t* text, DWORD room)
                       {
                           return GetPrivateProfileStringW(section.c_str(), name.c_str(),
                                                           defaultValue.c_str(), text, room, path.c_str());
                       });
}

std::uint32_t IniFile::GetDword(const std::wstring& name, std::uint32_t defaultValue)
{
    RequireName(name);
    return GetPrivateProfileIntW(section.c_str(), name.c_str(), static_cast<INT>(defaultValue), path.c_str());
}

// A null name is the whole section, a null value the name's removal.
void IniFile::Write(const wchar_t* name, const wchar_t* value) const
{
    if (!WritePrivateProfileStringW(section.c_str(), name, value, path.c_str()))
    {
        VZ_THROW(Exception, GetLastError());
    }
}

bool IniFile::SetString(const std::wstring& name, const std::wstring& value)
{
    RequireName(name);
    Write(name.c_str(), value.c_str());
    return true;
}

bool IniFile::SetDword(const std::wstring& name, std::uint32_t value)
{
    RequireName(name);
    std::wstring text;
    try
    {
        text = String::Format(L"%u", value);
    }
    catch (String::Exception* caught)
    {
        const std::unique_ptr<String::Exception> exception(caught);
        VZ_THROW(Exception, exception->code);
    }
    Write(name.c_str(), text.c_str());
    return true;
}

bool IniFile::DeleteSection()
{
    RequireOpen();
    Write(nullptr, nullptr);
    return true;
}

bool IniFile::DeleteValue(const std::wstring& name)
{
    RequireName(name);
    Write(name.c_str(), nullptr);
    return true;
}

bool IniFile::ListSections(std::vector<std::wstring>& names)
{
    RequireOpen();
    AppendNames(ReadGrowing(2, [&](wchar_t* text, DWORD room)
                            { return GetPrivateProfileSectionNamesW(text, room, path.c_str()); }),
                names);
    return true;
}

bool IniFile::ListValues(std::vector<std::wstring>& names)
{
    RequireOpen();
    AppendNames(ReadGrowing(2, [&](wchar_t* text, DWORD room)
                            { return GetPrivateProfileSectionW(section.c_str(), text, room, path.c_str()); }),
                names);
    return true;
}

} // namespace VzCommon::Storage

#pragma once

#include "VzComn_Storage.h"

namespace VzCommon::Storage
{

// One section of a private profile file. The path has to be absolute: the system looks for a bare name in its
// own folder. A missing file or name is no error: the reader gives its default.
//
// Deliberate: the NoThrow readers are those of Base and do not look into the file; callers that want its
// values take GetString and GetDword.
class IniFile : public Base
{
public:
    bool Open(const Key& store, const std::wstring& sectionName) override;
    bool Create(const Key& store, const std::wstring& sectionName) override;

    // Deliberate: a close that flushes always throws, see Flush.
    bool Close(const bool* flush) override;

    // Deliberate: throws even when all went well, with code 0, because the system's call reports failure
    // then.
    bool Flush() override;

    std::wstring GetString(const std::wstring& name, const std::wstring& defaultValue) override;

    // In the forms that GetPrivateProfileIntW takes: decimal, and hexadecimal behind "0x".
    std::uint32_t GetDword(const std::wstring& name, std::uint32_t defaultValue) override;
    bool SetString(const std::wstring& name, const std::wstring& value) override;
    bool SetDword(const std::wstring& name, std::uint32_t value) override;

    bool DeleteSection() override;
    using Base::DeleteValue;
    bool DeleteValue(const std::wstring& name) override;

    bool ListSections(std::vector<std::wstring>& names) override;

    // Deliberate: whole "name=value" strings.
    bool ListValues(std::vector<std::wstring>& names) override;

private:
    void RequireOpen() const;
    void RequireName(const std::wstring& name) const;
    void Write(const wchar_t* name, const wchar_t* value) const;

    std::wstring path;
    std::wstring section;
};

} // namespace VzCommon::Storage

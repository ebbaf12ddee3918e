#pragma once

#include "VzComn_Handle.h"
#include "VzComn_Storage.h"

namespace VzCommon::Storage
{

// Which of the registry's two views a 32-bit or 64-bit program sees.
namespace RegistryView
{
inline constexpr std::uint32_t Default = 0; // the program's own
inline constexpr std::uint32_t Bits32 = 1;
inline constexpr std::uint32_t Bits64 = 2;
} // namespace RegistryView

// The values of one registry key. Each way of opening asks for no more rights than its operations need, so a
// key that was opened for reading can be neither written nor enumerated: error 5. A missing value is an
// error, in the NoThrow readers the default; so is one of another type, with code 13. An empty name is the
// key's unnamed value.
class Registry : public Base
{
public:
    // The view is one of RegistryView and holds for every opening.
    explicit Registry(std::uint32_t registryView = RegistryView::Default) : view(registryView) {}

    bool Open(const Key& store, const std::wstring& section) override;
    bool Create(const Key& store, const std::wstring& section) override;
    bool OpenWrite(const Key& store, const std::wstring& section) override;
    bool OpenEnum(const Key& store, const std::wstring& section) override;
    bool Close(const bool* flush) override;
    bool Flush() override;

    std::uint32_t GetBinaryNoThrow(const std::wstring& name, std::vector<std::uint8_t>& buffer,
                                   std::uint32_t* error) override;
    std::uint32_t GetBinary(const std::wstring& name, std::vector<std::uint8_t>& buffer) override;
    std::wstring GetStringNoThrow(const std::wstring& name, const std::wstring& defaultValue,
                                  std::uint32_t* error) override;

    // As it is stored: nothing is expanded, and of several strings it is the first.
    std::wstring GetString(const std::wstring& name, const std::wstring& defaultValue) override;
    std::uint64_t GetQwordNoThrow(const std::wstring& name, std::uint64_t defaultValue,
                                  std::uint32_t* error) override;
    std::uint64_t GetQword(const std::wstring& name) override;
    std::uint32_t GetDwordNoThrow(const std::wstring& name, std::uint32_t defaultValue,
                                  std::uint32_t* error) override;
    std::uint32_t GetDword(const std::wstring& name, std::uint32_t defaultValue) override;

    bool SetBinary(const std::wstring& name, const std::vector<std::uint8_t>& buffer) override;
    bool SetString(const std::wstring& name, const std::wstring& value) override;
    bool SetQword(const std::wstring& name, std::uint64_t value) override;
    bool SetDword(const std::wstring& name, std::uint32_t value) override;

    // The open key itself. Code 5 if it has subkeys.
    bool DeleteSection() override;
    using Base::DeleteValue;
    bool DeleteValue(const std::wstring& name) override;

    // Code 234 for a name of 255 characters or more.
    bool ListSections(std::vector<std::wstring>& names) override;
    bool ListValues(std::vector<std::wstring>& names) override;

private:
    REGSAM Access(REGSAM mask) const;
    void OpenExisting(const Key& store, const std::wstring& section, REGSAM mask, std::uint32_t line);
    void Adopt(HKEY newRoot, RegistryKey newKey, std::wstring newPath);
    void RequireOpen() const;
    void ReadNumber(const std::wstring& name, DWORD wantedType, void* value, DWORD size) const;
    void Write(const std::wstring& name, DWORD type, const void* data, std::size_t size) const;

    HKEY root = nullptr; // Weak.
    RegistryKey key;
    std::wstring path;
    std::uint32_t view;
};

} // namespace VzCommon::Storage

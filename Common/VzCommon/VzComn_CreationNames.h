#pragma once

#include <string>

namespace VzCommon
{

// The two forms of a kernel object's name: the one that all sessions share and the one of this session.
// A form is empty for an empty name, and when the system version cannot be told.
class CreationNames
{
public:
    explicit CreationNames(const std::wstring& name);
    virtual ~CreationNames() = default;

    [[nodiscard]] std::wstring GetGlobalName() const { return globalName; }

    [[nodiscard]] std::wstring GetLocalName() const { return localName; }

private:
    std::wstring globalName;
    std::wstring localName;
    std::wstring privateName; // Deliberate: stays empty, nothing asks for a third form.
};

} // namespace VzCommon

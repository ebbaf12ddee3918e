#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// The wire form of winprobe: one record a line, "name=value" fields with a tab between them, UTF-8. In a
// value a backslash, a tab, a line feed and a carriage return are written as \\, \t, \n and \r.
class Record
{
public:
    Record() = default;
    explicit Record(const std::string& line);

    [[nodiscard]] std::string ToLine() const;

    // A missing field reads as an empty text, 0 or false.
    [[nodiscard]] std::wstring Text(const std::string& name) const;
    [[nodiscard]] std::uint64_t Number(const std::string& name) const; // decimal or 0x; -1 is all bits set

    [[nodiscard]] bool Flag(const std::string& name) const { return Number(name) != 0; }

    [[nodiscard]] bool Has(const std::string& name) const { return m_fields.count(name) != 0; }

    // The low 32 bits.
    [[nodiscard]] std::uint32_t Small(const std::string& name) const
    {
        return static_cast<std::uint32_t>(Number(name));
    }

    Record& Set(const std::string& name, const std::wstring& text);
    Record& Set(const std::string& name, std::uint64_t number);

private:
    std::map<std::string, std::string> m_fields;
};

// A reply: a record that holds "error", the system's error code or 0 for success, and perhaps more records.
using Records = std::vector<Record>;

inline Record ErrorRecord(std::uint32_t error)
{
    return Record().Set("error", error);
}

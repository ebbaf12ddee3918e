#include "VzComn_XmlAttributes.h"

namespace VzCommon::Storage
{

namespace
{

constexpr unsigned unitBits = 16;
constexpr std::size_t unitMask = 0xFFFF;
constexpr std::size_t lengthUnits = 2;

} // namespace

void XmlAttributes::Add(std::wstring_view name, std::wstring_view value)
{
    AddLength(name.size());
    AddLength(value.size());
    packed += name;
    packed += value;
}

void XmlAttributes::Set(std::wstring_view name, std::wstring_view value)
{
    XmlAttributes changed;
    bool isNew = true;
    for (std::size_t place = 0; place < packed.size();)
    {
        const Entry entry = Next(place);
        const bool isMeant = isNew && entry.name == name;
        changed.Add(entry.name, isMeant ? value : entry.value);
        isNew = isNew && !isMeant;
    }
    if (isNew)
    {
        changed.Add(name, value);
    }
    packed = std::move(changed.packed);
}

std::optional<std::wstring_view> XmlAttributes::Find(std::wstring_view name) const
{
    for (std::size_t place = 0; place < packed.size();)
    {
        const Entry entry = Next(place);
        if (entry.name == name)
        {
            return entry.value;
        }
    }
    return std::nullopt;
}

std::vector<XmlAttributes::Attribute> XmlAttributes::List() const
{
    std::vector<Attribute> list;
    for (std::size_t place = 0; place < packed.size();)
    {
        const Entry entry = Next(place);
        list.emplace_back(entry.name, entry.value);
    }
    return list;
}

// In two units: no document is longer than 32 bits can say, for the parser library takes its bytes by int.
void XmlAttributes::AddLength(std::size_t length)
{
    packed += static_cast<wchar_t>(length & unitMask);
    packed += static_cast<wchar_t>(length >> unitBits & unitMask);
}

std::size_t XmlAttributes::LengthAt(std::size_t place) const
{
    return static_cast<std::size_t>(packed[place]) | static_cast<std::size_t>(packed[place + 1]) << unitBits;
}

XmlAttributes::Entry XmlAttributes::Next(std::size_t& place) const
{
    const std::size_t nameLength = LengthAt(place);
    const std::size_t valueLength = LengthAt(place + lengthUnits);
    const std::wstring_view texts = std::wstring_view(packed).substr(place + 2 * lengthUnits);
    place += 2 * lengthUnits + nameLength + valueLength;
    return {texts.substr(0, nameLength), texts.substr(nameLength, valueLength)};
}

} // namespace VzCommon::Storage

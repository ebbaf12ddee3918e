#include "VzComn_XmlElement.h"

#include <windows.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace VzCommon::Storage
{

namespace
{

// Takes the next segment off a path.
std::wstring_view TakeSegment(std::wstring_view& path)
{
    const std::size_t end = std::min(path.find(L'/'), path.size());
    const std::wstring_view segment = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    return segment;
}

} // namespace

XmlElement::~XmlElement()
{
    DeleteChildren();
}

std::wstring XmlElement::GetName(std::wstring_view path, const std::wstring& defaultValue) const
{
    const XmlElement* const element = Find(path);
    return element != nullptr ? element->name : defaultValue;
}

std::wstring XmlElement::GetText(std::wstring_view path, const std::wstring& defaultValue) const
{
    const XmlElement* const element = Find(path);
    return element != nullptr ? element->text : defaultValue;
}

std::uint32_t XmlElement::SetName(std::wstring_view path, const std::wstring& value)
{
    XmlElement* const element = Find(path);
    if (element == nullptr)
    {
        return ERROR_NOT_FOUND;
    }
    element->name = value;
    return ERROR_SUCCESS;
}

std::uint32_t XmlElement::SetText(std::wstring_view path, const std::wstring& value)
{
    XmlElement* const element = Find(path);
    if (element == nullptr)
    {
        return ERROR_NOT_FOUND;
    }
    element->text = value;
    return ERROR_SUCCESS;
}

std::wstring XmlElement::GetAttribute(std::wstring_view attributeName) const
{
    return GetAttribute({}, attributeName, {});
}

std::wstring XmlElement::GetAttribute(std::wstring_view path, std::wstring_view attributeName,
                                      const std::wstring& defaultValue) const
{
    const XmlElement* const element = Find(path);
    const auto value = element != nullptr ? element->attributes.Find(attributeName) : std::nullopt;
    return value ? std::wstring(*value) : defaultValue;
}

std::uint32_t XmlElement::SetAttribute(std::wstring_view path, std::wstring_view attributeName,
                                       std::wstring_view value)
{
    XmlElement* const element = Find(path);
    if (element == nullptr)
    {
        return ERROR_NOT_FOUND;
    }
    element->attributes.Set(attributeName, value);
    return ERROR_SUCCESS;
}

XmlElement* XmlElement::FirstChild()
{
    return MoveTo(0);
}

XmlElement* XmlElement::FirstChild(std::wstring_view path)
{
    XmlElement* const element = Find(path);
    return element != nullptr ? element->FirstChild() : nullptr;
}

XmlElement* XmlElement::NextChild()
{
    return MoveTo(iterator == End ? End : iterator + 1);
}

XmlElement* XmlElement::NextChild(std::wstring_view path)
{
    XmlElement* const element = Find(path);
    return element != nullptr ? element->NextChild() : nullptr;
}

XmlElement* XmlElement::FirstChildNamed(std::wstring_view childName)
{
    return MoveToNamed(0, childName);
}

XmlElement* XmlElement::FirstChildNamed(std::wstring_view path, std::wstring_view childName)
{
    XmlElement* const element = Find(path);
    return element != nullptr ? element->FirstChildNamed(childName) : nullptr;
}

XmlElement* XmlElement::NextChildNamed(std::wstring_view childName)
{
    return MoveToNamed(iterator == End ? End : iterator + 1, childName);
}

XmlElement* XmlElement::NextChildNamed(std::wstring_view path, std::wstring_view childName)
{
    XmlElement* const element = Find(path);
    return element != nullptr ? element->NextChildNamed(childName) : nullptr;
}

XmlElement* XmlElement::AddChild(std::wstring childName)
{
    auto child = std::make_unique<XmlElement>();
    child->name = std::move(childName);
    child->parent = this;
    children.push_back(std::move(child));
    return children.back().get();
}

void XmlElement::AddAttribute(std::wstring_view attributeName, std::wstring_view value)
{
    attributes.Add(attributeName, value);
}

void XmlElement::Clear()
{
    DeleteChildren();
    name.clear();
    text.clear();
    attributes.Clear();
    iterator = End;
}

bool XmlElement::CopyFrom(const XmlElement& other)
{
    if (other.name.empty() && other.text.empty())
    {
        return false;
    }
    // Into an element of its own first: the other may be part of what is replaced.
    XmlElement copy;
    std::vector<std::pair<XmlElement*, const XmlElement*>> open{{&copy, &other}};
    while (!open.empty())
    {
        const auto [target, source] = open.back();
        open.pop_back();
        target->CopyContent(*source);
        target->children.reserve(source->children.size());
        for (const auto& child : source->children)
        {
            open.emplace_back(target->AddChild({}), child.get());
        }
    }
    MoveFrom(copy);
    return true;
}

void XmlElement::MoveFrom(XmlElement& other)
{
    DeleteChildren();
    name = std::move(other.name);
    text = std::move(other.text);
    attributes = std::move(other.attributes);
    children = std::move(other.children);
    iterator = other.iterator;
    for (const auto& child : children)
    {
        child->parent = this;
    }
    other.Clear();
}

bool XmlElement::IsInside(const XmlElement& other) const
{
    const XmlElement* ancestor = parent;
    while (ancestor != nullptr && ancestor != &other)
    {
        ancestor = ancestor->parent;
    }
    return ancestor != nullptr;
}

const XmlElement* XmlElement::Find(std::wstring_view path) const
{
    path.remove_prefix(std::min(path.find_first_not_of(L"./"), path.size()));
    const XmlElement* element = this;
    while (element != nullptr && !path.empty())
    {
        const std::wstring_view segment = TakeSegment(path);
        if (segment == L"..")
        {
            element = element->parent;
        }
        else if (!segment.empty())
        {
            element = element->FindChild(segment);
        }
    }
    return element;
}

XmlElement* XmlElement::Find(std::wstring_view path)
{
    return const_cast<XmlElement*>(std::as_const(*this).Find(path));
}

const XmlElement* XmlElement::FindChild(std::wstring_view childName) const
{
    const auto found = std::ranges::find(children, childName,
                                         [](const auto& child) -> std::wstring_view { return child->name; });
    return found != children.end() ? found->get() : nullptr;
}

XmlElement* XmlElement::MoveTo(std::size_t place)
{
    iterator = place < children.size() ? place : End;
    return iterator != End ? children[iterator].get() : nullptr;
}

XmlElement* XmlElement::MoveToNamed(std::size_t place, std::wstring_view childName)
{
    while (place < children.size() && children[place]->name != childName)
    {
        ++place;
    }
    return MoveTo(place);
}

void XmlElement::CopyContent(const XmlElement& other)
{
    name = other.name;
    text = other.text;
    attributes = other.attributes;
    iterator = other.iterator;
}

// From the last leaf on, so that no destructor finds anything below it.
void XmlElement::DeleteChildren() noexcept
{
    XmlElement* element = this;
    while (element != this || !element->children.empty())
    {
        if (!element->children.empty())
        {
            element = element->children.back().get();
        }
        else
        {
            element = element->parent;
            element->children.pop_back();
        }
    }
}

} // namespace VzCommon::Storage

#pragma once

#include "VzComn_XmlAttributes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace VzCommon::Storage
{

// One node of a document's tree, which owns its subtree. Belongs to one thread.
//
// A path leads to another node: names of children, each the first of that name, between "/". A segment ".."
// leads to the parent. Leading "." and "/" are skipped, and so is a segment without a name; what is left
// empty means the element itself. Names are compared exactly. No operation goes deeper on the stack for a
// deeper tree.
class XmlElement
{
public:
    XmlElement() = default;
    virtual ~XmlElement();

    // By CopyFrom only.
    XmlElement(const XmlElement&) = delete;
    XmlElement& operator=(const XmlElement&) = delete;

    [[nodiscard]] const std::wstring& GetName() const { return name; }

    [[nodiscard]] const std::wstring& GetText() const { return text; }

    // Null if the path leads nowhere. Weak.
    [[nodiscard]] const XmlElement* Find(std::wstring_view path) const;
    [[nodiscard]] XmlElement* Find(std::wstring_view path);

    // The default if the path leads nowhere.
    [[nodiscard]] std::wstring GetName(std::wstring_view path, const std::wstring& defaultValue) const;
    [[nodiscard]] std::wstring GetText(std::wstring_view path, const std::wstring& defaultValue) const;

    // 0, or 1168 (not found) if the path leads nowhere.
    std::uint32_t SetName(std::wstring_view path, const std::wstring& value);
    std::uint32_t SetText(std::wstring_view path, const std::wstring& value);

    // An empty text if the element has none of that name.
    [[nodiscard]] std::wstring GetAttribute(std::wstring_view attributeName) const;

    // The default if the path leads nowhere or if there is none of that name.
    [[nodiscard]] std::wstring GetAttribute(std::wstring_view path, std::wstring_view attributeName,
                                            const std::wstring& defaultValue) const;

    // Replaces the value or adds the attribute behind the others. 0, or 1168 if the path leads nowhere.
    std::uint32_t SetAttribute(std::wstring_view path, std::wstring_view attributeName,
                               std::wstring_view value);

    // In document order.
    [[nodiscard]] const XmlAttributes& Attributes() const { return attributes; }

    [[nodiscard]] std::size_t ChildCount() const { return children.size(); }

    // In document order. Each element has one place among its children, which all of these move: First to the
    // child that it gives, Next on from there. Null at the end, where the place stays then. Weak: the element
    // owns its children.
    XmlElement* FirstChild();
    XmlElement* FirstChild(std::wstring_view path);
    XmlElement* NextChild();
    XmlElement* NextChild(std::wstring_view path);
    XmlElement* FirstChildNamed(std::wstring_view childName);
    XmlElement* FirstChildNamed(std::wstring_view path, std::wstring_view childName);
    XmlElement* NextChildNamed(std::wstring_view childName);
    XmlElement* NextChildNamed(std::wstring_view path, std::wstring_view childName);

    // Behind the others. Weak.
    XmlElement* AddChild(std::wstring childName);

    // In the place of all that it has.
    void SetAttributes(XmlAttributes all) { attributes = std::move(all); }

    void AddAttribute(std::wstring_view attributeName, std::wstring_view value);

    void AppendText(std::wstring_view more) { text += more; }

    // Makes it an element without name, text, attributes and children. Its parent stays.
    void Clear();

    // Copies all but the parent; the other may be part of this one's subtree. False, and nothing is done, if
    // the other has neither name nor text.
    bool CopyFrom(const XmlElement& other);

    // Takes over all but the parent and leaves the other empty, which must not be part of this one's subtree.
    void MoveFrom(XmlElement& other);

    // True if the other is among this element's ancestors.
    [[nodiscard]] bool IsInside(const XmlElement& other) const;

    // Weak. Null for the root.
    [[nodiscard]] XmlElement* GetParent() const { return parent; }

private:
    using Children = std::vector<std::unique_ptr<XmlElement>>;

    [[nodiscard]] const XmlElement* FindChild(std::wstring_view childName) const;
    XmlElement* MoveTo(std::size_t place);
    XmlElement* MoveToNamed(std::size_t place, std::wstring_view childName);
    void CopyContent(const XmlElement& other);
    void DeleteChildren() noexcept;

    static constexpr std::size_t End = static_cast<std::size_t>(-1);

    std::wstring name;
    std::wstring text;
    XmlAttributes attributes;
    Children children;
    std::size_t iterator = End;
    XmlElement* parent = nullptr; // Weak.
};

} // namespace VzCommon::Storage

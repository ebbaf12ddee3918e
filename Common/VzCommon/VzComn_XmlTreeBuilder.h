#pragma once

#include "VzComn_XmlElement.h"
#include "VzComn_XmlParserSaxBase.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace VzCommon::Storage
{

// Walks along a document's events to the first element at a path and builds it with its subtree. The path's
// segments are the names of the elements from the document's first on; "/" stands for that one under any
// name.
class XmlTreeBuilder
{
public:
    explicit XmlTreeBuilder(std::wstring_view path);

    // The event is used up.
    void Take(XmlEvent& event);

    // True once the wanted element has ended.
    [[nodiscard]] bool IsComplete() const { return isComplete; }

    // The element, while it is complete.
    [[nodiscard]] XmlElement& Element() { return element; }

private:
    void Enter(XmlEvent& event);
    void Leave();

    std::vector<std::wstring> segments;
    std::size_t depth = 0;   // of elements that are open outside of the wanted one
    std::size_t matched = 0; // of these, how many are on the path
    XmlElement element;
    XmlElement* open = nullptr; // Weak. The innermost one of the wanted element that is open.
    bool isComplete = false;
};

} // namespace VzCommon::Storage

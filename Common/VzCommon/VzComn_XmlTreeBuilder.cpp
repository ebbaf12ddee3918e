#include "VzComn_XmlTreeBuilder.h"

#include <utility>

namespace VzCommon::Storage
{

XmlTreeBuilder::XmlTreeBuilder(std::wstring_view path)
{
    while (!path.empty())
    {
        const std::size_t end = path.find(L'/');
        if (end != 0)
        {
            segments.emplace_back(path.substr(0, end));
        }
        path.remove_prefix(end == std::wstring_view::npos ? path.size() : end + 1);
    }
}

void XmlTreeBuilder::Take(XmlEvent& event)
{
    if (isComplete)
    {
        return;
    }
    switch (event.kind)
    {
    case XmlEvent::Kind::StartElement: Enter(event); break;
    case XmlEvent::Kind::EndElement: Leave(); break;
    case XmlEvent::Kind::Text:
        if (open != nullptr)
        {
            open->AppendText(event.text);
        }
        break;
    default: break;
    }
}

void XmlTreeBuilder::Enter(XmlEvent& event)
{
    if (open != nullptr)
    {
        open = open->AddChild(std::move(event.text));
        open->SetAttributes(std::move(event.attributes));
        return;
    }
    const bool isOnPath = depth == matched && matched < segments.size() && segments[matched] == event.text;
    const bool isWanted = segments.empty() || (isOnPath && matched + 1 == segments.size());
    if (isWanted)
    {
        open = &element;
        element.SetName({}, event.text);
        element.SetAttributes(std::move(event.attributes));
        return;
    }
    matched += isOnPath ? 1 : 0;
    ++depth;
}

void XmlTreeBuilder::Leave()
{
    if (open != nullptr)
    {
        open = open->GetParent();
        isComplete = open == nullptr;
        return;
    }
    --depth;
    matched = matched > depth ? depth : matched;
}

} // namespace VzCommon::Storage

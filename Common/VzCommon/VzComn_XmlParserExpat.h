#pragma once

#include "VzComn_XmlParserExpatBase.h"

#include <deque>

namespace VzCommon::Storage
{

// Events from the parser library, which is loaded between Open and Close.
class XmlParserExpat : public XmlParserSaxBase, public XmlParserExpatBase
{
public:
    ~XmlParserExpat() override;

    bool Open(const XmlOption& documentPath, const XmlOption& encodingName,
              const XmlOption& dllFolder) override;
    void Feed(const char* bytes, std::size_t length, bool isLast) override;
    void ProcessEvents() override;
    void Close() override;
    bool NextEvent(XmlEvent& event) override;
    [[nodiscard]] bool IsFinished() const override;

    void OnStartElement(const char* name, const char** attributes) override;
    void OnEndElement(const char* name) override;
    void OnCharacterData(const char* text, int length) override;
    void OnDefault(const char* text, int length) override;
    void OnComment(const char* text) override;

private:
    void Add(XmlEvent::Kind kind, std::string_view text);

    bool isLoaded = false;
    bool isCreated = false;
    std::deque<XmlEvent> events;
};

} // namespace VzCommon::Storage

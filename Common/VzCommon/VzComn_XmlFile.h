#pragma once

#include "VzComn_FileBase.h"

#include <cstddef>
#include <span>

namespace VzCommon::Storage
{

// A document's file. Failures to open and to close are thrown as XmlException, those to read as Exception.
class XmlFile : public FileBase
{
public:
    // Deliberate: a file that is not there is made, and then reads as empty.
    explicit XmlFile(const wchar_t* name);

    // The number of bytes, fewer than there is room for at the end of the file. Code 38 if there are none.
    [[nodiscard]] std::size_t Read(std::span<char> room);

    void Close();
};

} // namespace VzCommon::Storage

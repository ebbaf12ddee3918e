#pragma once

#include <cstdint>
#include <span>
#include <string>

// What has to hold for the XML layer whatever the bytes are: it takes what the parser library alone takes,
// but for files of whole blocks, refuses what that refuses with the same error at the same place, and its
// tree holds the same elements, attributes and texts in document order. The file holds these bytes; the
// folder is that of the parser library. Gives the first invariant that does not hold, in words; empty if all
// do.
[[nodiscard]] std::string BrokenXmlInvariant(std::span<const std::uint8_t> bytes, const std::wstring& file,
                                             const std::wstring& libraryFolder);

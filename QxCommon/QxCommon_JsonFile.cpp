#include "QxCommon_JsonFile.h"

#include "QxCommon_JsonText.h"
#include "VzComn_StringCrypt.h"

#include <algorithm>
#include <istream>
#include <memory>
#include <string_view>
#include <utility>

namespace QxCommon::JsonFile
{
namespace
{
constexpr std::string_view containerMagic = "QXJSONDB";
constexpr std::size_t blockSize = 0x40000;

// The number of bytes that the stream may hold; one in text mode gives fewer. Back at the beginning
// afterwards.
std::size_t SizeAtMost(std::istream& file)
{
    const std::streamoff size = file.seekg(0, std::ios::end).tellg();
    file.clear();
    file.seekg(0);
    return size > 0 ? static_cast<std::size_t>(size) : 0;
}

void AppendRest(std::istream& file, std::string& bytes)
{
    const auto block = std::make_unique_for_overwrite<char[]>(blockSize);
    do
    {
        file.read(block.get(), blockSize);
        bytes.append(block.get(), static_cast<std::size_t>(file.gcount()));
    } while (file);
}

// Reads the whole stream. A container's magic is told and left out.
std::string ReadAll(std::istream& file, bool& isContainer)
{
    std::string bytes;
    bytes.reserve(SizeAtMost(file));
    bytes.resize(containerMagic.size());
    file.read(bytes.data(), containerMagic.size());
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    isContainer = bytes == containerMagic;
    if (isContainer)
    {
        bytes.clear();
    }
    AppendRest(file, bytes);
    return bytes;
}

} // namespace

std::string ReadText(std::istream& file)
{
    bool isContainer = false;
    std::string text = ReadAll(file, isContainer);
    if (isContainer)
    {
        // Deliberate: what cannot be deciphered is an empty text, which the reader then refuses.
        std::string plain;
        (void)VzCommon::Cryptograph::DecryptStringA(plain, text);
        text = std::move(plain);
    }
    text.resize(std::min(text.size(), text.find('\0')));
    if (!JsonText::IsUtf8(text))
    {
        text = JsonText::ToUtf8(JsonText::ToWide(text));
    }
    return text;
}

} // namespace QxCommon::JsonFile

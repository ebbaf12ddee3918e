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
constexpr std::size_t blockSize = 256U * 1024U;

// The file's size says nothing here: a stream in text mode gives fewer bytes.
std::string ReadToEnd(std::istream& file)
{
    const auto block = std::make_unique_for_overwrite<char[]>(blockSize);
    std::string bytes;
    do
    {
        file.read(block.get(), blockSize);
        bytes.append(block.get(), static_cast<std::size_t>(file.gcount()));
    } while (file);
    return bytes;
}

} // namespace

std::string ReadText(std::istream& file)
{
    std::string text = ReadToEnd(file);
    if (text.starts_with(containerMagic))
    {
        text.erase(0, containerMagic.size());
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

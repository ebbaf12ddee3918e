#include "TextToSend.h"

#include <fstream>
#include <iterator>

#include "QxCommon_JsonText.h"

namespace
{
std::optional<std::wstring> ReadFile(const std::wstring& path)
{
    std::ifstream file(path.c_str(), std::ios::binary);
    if (!file)
    {
        return std::nullopt;
    }
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    return file.bad() ? std::nullopt : std::optional(QxCommon::JsonText::ToWide(bytes));
}
} // namespace

std::optional<std::wstring> TextToSend(const Arguments& arguments, Output& output)
{
    if (!arguments.file)
    {
        return arguments.command.value_or(L"{}");
    }
    std::optional<std::wstring> text = ReadFile(*arguments.file);
    if (!text)
    {
        output.Note(L"the file " + *arguments.file + L" cannot be read");
    }
    return text;
}

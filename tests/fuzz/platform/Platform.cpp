#include "Platform.h"

#include "VzComn_Expat.h"
#include "VzComn_SecurityAttributes.h"
#include "VzComn_String.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <string_view>

namespace
{
struct Export
{
    std::string_view name;
    FARPROC address;
};

template <typename Function>
Export MakeExport(std::string_view name, Function* function)
{
    return {name, reinterpret_cast<FARPROC>(function)};
}

// The library limits by how much entities may make a document grow, from 8 MB on. From less on here:
// documents that only just stay below that would take the fuzzer's time.
XML_Parser CreateParser(const XML_Char* encoding, const XML_Memory_Handling_Suite* memory,
                        const XML_Char* separator)
{
    XML_Parser parser = XML_ParserCreate_MM(encoding, memory, separator);
    XML_SetBillionLaughsAttackProtectionActivationThreshold(parser, 64U * 1024U);
    return parser;
}

#define EXPORT(function) MakeExport(#function, &function)

// The parser library is linked in.
const Export exportTable[] = {
    EXPORT(XML_ErrorString),
    EXPORT(XML_GetBuffer),
    EXPORT(XML_GetCurrentColumnNumber),
    EXPORT(XML_GetCurrentLineNumber),
    EXPORT(XML_GetErrorCode),
    EXPORT(XML_GetParsingStatus),
    EXPORT(XML_Parse),
    EXPORT(XML_ParseBuffer),
    MakeExport("XML_ParserCreate_MM", &CreateParser),
    EXPORT(XML_ParserFree),
    EXPORT(XML_ResumeParser),
    EXPORT(XML_SetCharacterDataHandler),
    EXPORT(XML_SetCommentHandler),
    EXPORT(XML_SetDefaultHandler),
    EXPORT(XML_SetElementHandler),
    EXPORT(XML_SetEncoding),
    EXPORT(XML_SetExternalEntityRefHandler),
    EXPORT(XML_SetNamespaceDeclHandler),
    EXPORT(XML_SetNotStandaloneHandler),
    EXPORT(XML_SetNotationDeclHandler),
    EXPORT(XML_SetProcessingInstructionHandler),
    EXPORT(XML_SetUnparsedEntityDeclHandler),
    EXPORT(XML_SetUserData),
    EXPORT(XML_StopParser),
};

#undef EXPORT

struct OpenFile
{
    std::span<const std::uint8_t> rest;
};

DWORD lastError = ERROR_SUCCESS;
std::span<const std::uint8_t> fileBytes;
int openFiles = 0;
int openLibraries = 0;

// Decodes what the parser library has checked: well-formed UTF-8 alone.
void AppendCharacter(std::wstring& wide, std::uint32_t character)
{
    if (character < 0x10000)
    {
        wide += static_cast<wchar_t>(character);
        return;
    }
    wide += static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10));
    wide += static_cast<wchar_t>(0xDC00 + ((character - 0x10000) & 0x3FF));
}
} // namespace

void SetFile(std::span<const std::uint8_t> bytes)
{
    fileBytes = bytes;
}

int OpenObjects()
{
    return openFiles + openLibraries;
}

DWORD GetLastError()
{
    return lastError;
}

void SetLastError(DWORD error)
{
    lastError = error;
}

HANDLE CreateFileW(const wchar_t* /*name*/, DWORD /*access*/, DWORD /*sharing*/,
                   SECURITY_ATTRIBUTES* /*attributes*/, DWORD /*disposition*/, DWORD /*flags*/,
                   HANDLE /*pattern*/)
{
    ++openFiles;
    return new OpenFile{fileBytes};
}

BOOL ReadFile(HANDLE file, void* room, DWORD size, DWORD* count, void* /*overlapped*/)
{
    auto& rest = static_cast<OpenFile*>(file)->rest;
    const auto block = rest.first(std::min<std::size_t>(size, rest.size()));
    std::ranges::copy(block, static_cast<std::uint8_t*>(room));
    rest = rest.subspan(block.size());
    *count = static_cast<DWORD>(block.size());
    return TRUE;
}

BOOL CloseHandle(HANDLE handle)
{
    --openFiles;
    delete static_cast<OpenFile*>(handle);
    return TRUE;
}

HMODULE LoadLibraryW(const wchar_t* /*name*/)
{
    ++openLibraries;
    return reinterpret_cast<HMODULE>(&openLibraries);
}

FARPROC GetProcAddress(HMODULE /*library*/, const char* name)
{
    const auto* const found = std::ranges::find(exportTable, std::string_view(name), &Export::name);
    if (found == std::end(exportTable))
    {
        lastError = ERROR_PROC_NOT_FOUND;
        return nullptr;
    }
    return found->address;
}

BOOL FreeLibrary(HMODULE /*library*/)
{
    --openLibraries;
    return TRUE;
}

int WideCharToMultiByte(UINT /*codePage*/, DWORD /*flags*/, const wchar_t* text, int /*length*/, char* room,
                        int size, const char* /*substitute*/, BOOL* /*isSubstituted*/)
{
    const std::wstring_view all(text, std::wcslen(text) + 1);
    if (all.size() > static_cast<std::size_t>(size))
    {
        lastError = ERROR_INSUFFICIENT_BUFFER;
        return 0;
    }
    std::ranges::transform(all, room, [](wchar_t character) { return static_cast<char>(character); });
    return static_cast<int>(all.size());
}

namespace VzCommon::AccessControl
{
SecurityAttributes::SecurityAttributes(std::uint32_t objectKind, bool inheritHandle) noexcept
    : kind(objectKind), inherit(inheritHandle)
{
}

SECURITY_ATTRIBUTES* SecurityAttributes::ForCreation() noexcept
{
    return this;
}
} // namespace VzCommon::AccessControl

namespace VzCommon::String
{
std::wstring FromUtf8(std::string_view text)
{
    std::wstring wide;
    for (std::size_t i = 0; i < text.size();)
    {
        const auto first = static_cast<std::uint8_t>(text[i]);
        const std::size_t length = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
        std::uint32_t character = length == 1 ? first : first & (0x7FU >> length);
        for (const char next : text.substr(i + 1, length - 1))
        {
            character = character << 6 | (static_cast<std::uint8_t>(next) & 0x3FU);
        }
        AppendCharacter(wide, character);
        i += length;
    }
    return wide;
}

std::wstring EnsureBackslash(std::wstring text)
{
    return text.ends_with(L'\\') ? text : text + L'\\';
}
} // namespace VzCommon::String

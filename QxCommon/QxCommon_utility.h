#pragma once

#include <string>
#include <string_view>

// The product's folders and other small things that every program of the family needs. Any thread.
namespace QxCommon
{

// Joins a folder and a name by one "\", unless the folder ends in one already.
[[nodiscard]] std::wstring AppendName(std::wstring folder, std::wstring_view name);

// The registry key of the running product, below HKEY_LOCAL_MACHINE.
[[nodiscard]] std::wstring GetProductRegistryKey();

// The value "ProductPath" of the product's key as it stands. Empty if it cannot be read.
[[nodiscard]] std::wstring GetRegistryProductPath();

// The file of the running executable. Deliberate: a path of 260 characters or more is cut off at 259.
[[nodiscard]] std::wstring GetModulePath();

// The folder of that file, without a trailing "\".
[[nodiscard]] std::wstring GetModuleFolder();

// Where the product is installed: the registered path, or the module folder if there is none. Ends in a "\"
// only if the registered path does; is not tested for existence.
[[nodiscard]] std::wstring GetProductPath();

[[nodiscard]] std::wstring GetConfigurationFolder();

// Where the family's other programs lie.
[[nodiscard]] std::wstring GetBinariesFolder();

// True if the native processor architecture is x64.
[[nodiscard]] bool IsX64System();

// The name of the folder that holds the texts and images of the user's interface language. Never empty.
[[nodiscard]] std::wstring GetLocaleName(bool useCache);

// The text without the line feeds at its end.
[[nodiscard]] std::wstring TrimTrailingLineFeeds(std::wstring text);

} // namespace QxCommon

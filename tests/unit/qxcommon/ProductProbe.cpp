#include "FrwkMode.h"
#include "QxCommon_utility.h"
#include "TempRegistry.h"

#include <cstdio>
#include <cwchar>
#include <string>

// Writes to the file named by its argument which product it takes itself for. Started under many names by
// ProductNameTests; sees an empty registry.
int wmain(int count, wchar_t** arguments)
{
    FILE* file = count == 2 ? _wfopen(arguments[1], L"wb") : nullptr;
    if (file == nullptr)
    {
        return 1;
    }
    const TestSupport::TempRegistry registry;
    const std::wstring answers[] = {
        QxCommon::GetProductId(),
        std::to_wstring(QxCommon::GetProductNumber()),
        QxCommon::IsFrwkModeOne() ? L"one" : L"other",
        QxCommon::MapProductFileName(L"QxMainConsole.exe"),
        QxCommon::GetModuleFolder(),
        QxCommon::GetConfigurationFolder(),
        QxCommon::GetBinariesFolder(),
        QxCommon::GetProductRegistryKey(),
    };
    for (const std::wstring& answer : answers)
    {
        std::fwrite(answer.c_str(), sizeof(wchar_t), answer.size() + 1, file);
    }
    return std::fclose(file);
}

#pragma once

#include <windows.h>

#include <gmock/gmock.h>

#include <string>
#include <string_view>
#include <vector>

#include "FakeProduct.h"
#include "LogCapture.h"
#include "RecordingWriter.h"
#include "TempDir.h"
#include "TempRegistry.h"

// The crash handler of a product with data folders of its own. What it sets is the process's and stays, so
// each of these cases wants a process of its own.
class CrashTest : public ::testing::Test
{
protected:
    CrashTest();

    // Arms the handler, with the fixture's folder for the common one.
    void Init(const std::wstring& eventName = L"");

    // Puts a file into the dump folder that is so many seconds old.
    void PutFile(const std::wstring& name, int age, std::string_view bytes = "dump");

    // The names in the dump folder, in their order.
    [[nodiscard]] std::vector<std::wstring> Files() const;

    [[nodiscard]] std::wstring DumpFolder() const;

    TestSupport::TempDir folder;
    TestSupport::TempRegistry registry;
    // The channels write beside the program.
    FakeProduct product{L"QxSessionAgent_M.exe", TestSupport::RecordingLogFolder()};
    TestSupport::LogCapture log{logLevels};
};

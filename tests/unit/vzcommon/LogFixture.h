#pragma once

#include "RecordingWriter.h"
#include "TempDir.h"

#include "VzComn_DebugLog.h"
#include "VzComn_LogFront.h"

#include <gmock/gmock.h>

#include <string>

// A log of its own with a configuration file of its own, and the writer that records its lines.
class LogFixture : public testing::Test
{
protected:
    // Both sections of the file get the keys.
    void Configure(const std::string& keys) const
    {
        dir.Write(L"vzdbg.ini",
                  "[InteractiveSession]\r\n" + keys + "\r\n[ServiceSession]\r\n" + keys + "\r\n");
    }

    bool Initialize(const std::wstring& name = L"Test",
                    const std::wstring& folder = TestSupport::RecordingLogFolder())
    {
        return log.Initialize(name, VzCommon::Storage::Key::ForIniFile(dir.Path().c_str(), L"\\vzdbg.ini"),
                              folder);
    }

    bool Trace(std::uint32_t level, const wchar_t* text) { return log.Trace("a/b/Source", 12, level, text); }

    // The tag, the name and the rest of each line: what follows time, process and thread.
    std::vector<std::wstring> Rests() const
    {
        std::vector<std::wstring> rests;
        for (const std::wstring& line : writer.Lines())
        {
            rests.push_back(line.substr(line.find(L' ', 24) + 1));
        }
        return rests;
    }

    TestSupport::TempDir dir;
    TestSupport::RecordingWriter writer;
    VzCommon::DebugLog log;
};

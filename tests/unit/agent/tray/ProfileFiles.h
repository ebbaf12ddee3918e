#pragma once

#include "LogCapture.h"
#include "ProfileParser.h"
#include "TempDir.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

inline std::string Repeat(const std::string& text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i)
    {
        all += text;
    }
    return all;
}

// A profile of the test's own and what is said about it.
class ProfileTest : public testing::Test
{
protected:
    // Parses a profile with that inside of its root.
    bool Parse(const std::string& sections)
    {
        return parser.ParseXmlFile(QX_EXPAT_FOLDER, dir.Write(L"profile.xml", "<Ui>" + sections + "</Ui>"));
    }

    // The log without the traces.
    [[nodiscard]] std::vector<std::wstring> Texts() const
    {
        std::vector<std::wstring> texts = log.Texts();
        std::erase_if(texts, [](const std::wstring& text) { return text.starts_with(L"[INFO],[]"); });
        return texts;
    }

    TestSupport::TempDir dir;
    TestSupport::LogCapture log;
    CProfileParser parser;
};

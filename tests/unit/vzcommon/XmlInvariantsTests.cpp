#include "XmlInvariants.h"

#include "TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{

std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Broken(const TestSupport::TempDir& dir, const std::string& text)
{
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    return BrokenXmlInvariant(bytes, dir.Write(L"document.xml", text), QX_EXPAT_FOLDER);
}

} // namespace

TEST(XmlInvariantsTest, TheCorpusOfTheFuzzerHoldsThem)
{
    const TestSupport::TempDir dir;
    int count = 0;
    for (const auto& file : std::filesystem::directory_iterator(QX_XML_CORPUS))
    {
        EXPECT_EQ(Broken(dir, ReadFile(file.path())), "") << file.path();
        ++count;
    }
    EXPECT_GT(count, 20);
}

TEST(XmlInvariantsTest, EveryTruncationHoldsThem)
{
    const TestSupport::TempDir dir;
    const std::string text = ReadFile(std::filesystem::path(QX_XML_CORPUS) / "text");
    ASSERT_FALSE(text.empty());
    for (std::size_t size = 0; size <= text.size(); ++size)
    {
        EXPECT_EQ(Broken(dir, text.substr(0, size)), "") << size;
    }
}

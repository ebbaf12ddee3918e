#include "VzComn_FileBase.h"

#include "ObjectCounts.h"
#include "TempDir.h"

#include <gtest/gtest.h>

using VzCommon::Storage::FileBase;

namespace
{

TEST(FileBase, FindsFilesAndFolders)
{
    const TestSupport::TempDir dir;
    const std::wstring file = dir.Write(L"a file.txt", "");
    EXPECT_TRUE(FileBase::Exists(file));
    EXPECT_TRUE(FileBase::Exists(dir.Path()));
    EXPECT_FALSE(FileBase::Exists(dir.Path(L"missing")));
    EXPECT_FALSE(FileBase::Exists(L""));
    EXPECT_FALSE(FileBase::Exists(dir.Path(std::wstring(40000, L'x'))));
    EXPECT_EQ(TestSupport::GrowthOf([&] { (void)FileBase::Exists(file); }), "");
}

TEST(FileBase, StripsTheFileName)
{
    EXPECT_EQ(FileBase::StripFileName(L"C:\\a\\b.txt"), L"C:\\a");
    EXPECT_EQ(FileBase::StripFileName(L"C:\\a\\"), L"C:\\a");
    EXPECT_EQ(FileBase::StripFileName(L"\\a"), L"");
    EXPECT_EQ(FileBase::StripFileName(L"a.txt"), L"a.txt");
    EXPECT_EQ(FileBase::StripFileName(L"C:/a/b"), L"C:/a/b");
    EXPECT_EQ(FileBase::StripFileName(L""), L"");
}

TEST(FileBase, GivesTheFileName)
{
    EXPECT_EQ(FileBase::GetFileName(L"C:\\a\\b.txt"), L"b.txt");
    EXPECT_EQ(FileBase::GetFileName(L"C:\\a\\b\\"), L"b\\") << "the last one is not searched, but stays";
    EXPECT_EQ(FileBase::GetFileName(L"b.txt"), L"b.txt");
    EXPECT_EQ(FileBase::GetFileName(L"b\\"), L"b\\");
    EXPECT_EQ(FileBase::GetFileName(L"\\b"), L"b");
    EXPECT_EQ(FileBase::GetFileName(L"\\\\"), L"\\");
    EXPECT_EQ(FileBase::GetFileName(L"\\"), L"\\");
    EXPECT_EQ(FileBase::GetFileName(L"b"), L"b");
    EXPECT_EQ(FileBase::GetFileName(L""), L"");
}

TEST(FileBase, CombinesWithOneBackslash)
{
    EXPECT_EQ(FileBase::Combine(L"C:\\a", L"b"), L"C:\\a\\b");
    EXPECT_EQ(FileBase::Combine(L"C:\\a\\", L"b"), L"C:\\a\\b");
    EXPECT_EQ(FileBase::Combine(L"", L"b"), L"b");
    EXPECT_EQ(FileBase::Combine(L"a", L""), L"a\\");
}

class OpenFile : public FileBase
{
public:
    explicit OpenFile(const std::wstring& filePath)
    {
        path = filePath;
        handle.Reset(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    }
};

TEST(FileBase, ClosesItsFile)
{
    const TestSupport::TempDir dir;
    const std::wstring file = dir.Write(L"a", "");
    EXPECT_EQ(TestSupport::GrowthOf([&] { const OpenFile open(file); }), "");
}

} // namespace

#include "VzComn_VzDbg.h"

#include "FakeExports.h"
#include "RecordingWriter.h"

#include <gtest/gtest.h>

using TestSupport::FakeExports;
using VzCommon::Library::VzDbg;

namespace
{

class VzDbgTest : public testing::Test
{
protected:
    bool Load()
    {
        return library.Load((TestSupport::RecordingLogFolder() + L"\\VzDbgLog.dll").c_str(), nullptr,
                            nullptr);
    }

    VzDbg library;
    std::uint32_t error = 99;
};

TEST_F(VzDbgTest, BindsTheThreeExportsAndForgetsThem)
{
    EXPECT_FALSE(library.IsBound());
    ASSERT_TRUE(Load());
    EXPECT_TRUE(library.Bind(true, &error));
    EXPECT_EQ(error, 0U);
    EXPECT_TRUE(library.IsBound());
    EXPECT_TRUE(library.CanTrace());

    error = 99;
    EXPECT_TRUE(library.Bind(false, &error));
    EXPECT_EQ(error, 0U);
    EXPECT_FALSE(library.IsBound());
    EXPECT_FALSE(library.CanTrace());
}

TEST_F(VzDbgTest, CallsTheExports)
{
    const TestSupport::RecordingWriter writer;
    ASSERT_TRUE(Load());
    ASSERT_TRUE(library.Bind(true, nullptr));
    void* handle = nullptr;
    VzDbgConfig config{};
    config.logProcess = 5;
    ASSERT_EQ(library.Initialize(&handle, config), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(writer->config.logProcess, 5U);
    SYSTEMTIME time{};
    time.wYear = 2026;
    EXPECT_EQ(library.Trace(handle, time, L"line\r\n"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(writer.Lines(), std::vector<std::wstring>{L"line\r\n"});
    EXPECT_EQ(writer->Time(0).wYear, 2026);
    library.Uninitialize(handle);
    EXPECT_EQ(writer->uninitializations, 1);
    EXPECT_EQ(writer->wrongHandles, 0);
}

TEST_F(VzDbgTest, FailsWith6WithoutALibrary)
{
    EXPECT_FALSE(library.Bind(true, &error));
    EXPECT_EQ(error, 6U);
    EXPECT_FALSE(library.Bind(true, nullptr));
    EXPECT_TRUE(library.Bind(false, &error)) << "forgetting needs none";
}

TEST_F(VzDbgTest, IsUnboundWhenAnyExportIsMissing)
{
    ASSERT_TRUE(Load());
    for (const char* name : {"VzDbgInitialize", "VzDbgUninitialize", "VzDbgTrace"})
    {
        FakeExports exports;
        exports.Remove(name);
        error = 99;
        EXPECT_FALSE(library.Bind(true, &error)) << name;
        EXPECT_EQ(error, DWORD{ERROR_PROC_NOT_FOUND}) << "and not the success of the export behind it";
        EXPECT_FALSE(library.IsBound());
    }
    EXPECT_TRUE(library.Bind(true, &error));
}

} // namespace

// The engine library's way into the process, and what stands in it.
#include <windows.h>

#include "EngineHostTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
using HostLibraryTest = EngineHostTest;

constexpr wchar_t createPlain[] = L"{\"JD_COMMAND_ID\":2000,\"action\":4097,\"itemId\":\"plain\"}";
constexpr wchar_t refusedPlain[] =
    L"{\"JD_COMMAND_ID\":2000,\"action\":4097,\"itemId\":\"plain\",\"retCode\":-520159203}";

std::wstring FailedToLoad(const std::wstring& path, unsigned error)
{
    return L": [DEBUG] Failed to load Quenta.dll, [wstrQuentaDll=" + path + L"][dwError=" +
           std::to_wstring(error) + L"]";
}

TEST_F(HostLibraryTest, AnAbsentLibraryIsTriedAgainWithEachCommand)
{
    for (int attempt = 0; attempt < 2; ++attempt)
    {
        log->Clear();
        host->Initialize();
        EXPECT_THAT(Lines(), ElementsAre(FailedToLoad(LibraryPath(), ERROR_MOD_NOT_FOUND)));
        EXPECT_EQ(ReplyTo(createPlain), refusedPlain);
        EXPECT_THAT(Lines(), ElementsAre(FailedToLoad(LibraryPath(), ERROR_MOD_NOT_FOUND)));
    }
    Install(L"EngineProbe", L"EngineProbe.dll");
    log->Clear();
    host->Initialize();
    EXPECT_THAT(Lines(), ElementsAre(L": [DEBUG] GetProcAddress result: [m_bInited=1][dwError=0]"));
    EXPECT_EQ(StatusOf(createPlain), Status::Success);
}

TEST_F(HostLibraryTest, WithoutTheLibraryTheCommandKeepsItsMembersAndGetsNoOthers)
{
    EXPECT_EQ(ReplyTo(L"{}"), L"{\"retCode\":-520159203}");
    EXPECT_EQ(ReplyTo(L"{\"action\":\"x\",\"data\":5,\"trackId\":[1]}"),
              L"{\"action\":\"x\",\"data\":5,\"retCode\":-520159203,\"trackId\":[1]}");
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(HostLibraryTest, ALoadedLibraryIsNotLoadedAgain)
{
    InstallProbe();
    host->Initialize();
    host->Initialize();
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(HostLibraryTest, ALibraryWithoutTheFactoryStaysAndMakesTheHostUnusable)
{
    Install(L"LibraryProbe", L"LibraryProbe.dll");
    host->Initialize();
    EXPECT_THAT(Lines(), ElementsAre(L": [DEBUG] GetProcAddress result: [m_bInited=0][dwError=127]"));
    EXPECT_NE(GetModuleHandleW(L"Quenta.dll"), nullptr);
    EXPECT_EQ(ReplyTo(createPlain), refusedPlain);
    for (int attempt = 0; attempt < 2; ++attempt)
    {
        log->Clear();
        host->Initialize();
        EXPECT_THAT(Lines(), ElementsAre(FailedToLoad(LibraryPath(), 5010)));
        EXPECT_EQ(ReplyTo(createPlain), refusedPlain);
    }
}

TEST_F(HostLibraryTest, AFileThatIsNoLibraryIsRefused)
{
    folder.Write(L"Quenta.dll", "no library");
    host->Initialize();
    ASSERT_EQ(Lines().size(), 1U);
    EXPECT_EQ(Lines()[0].find(L": [DEBUG] Failed to load Quenta.dll, [wstrQuentaDll=" + LibraryPath()), 0U);
    EXPECT_EQ(ReplyTo(createPlain), refusedPlain);
}

// The probe library, marked as one of a 32-bit processor.
TEST_F(HostLibraryTest, ALibraryOfAnotherProcessorIsRefused)
{
    Install(L"EngineProbe", L"EngineProbe.dll");
    std::string bytes = folder.Read(L"Quenta.dll");
    const std::size_t header = static_cast<unsigned char>(bytes.at(0x3C)) +
                               (static_cast<std::size_t>(static_cast<unsigned char>(bytes.at(0x3D))) << 8U);
    ASSERT_EQ(bytes.substr(header, 2), "PE");
    bytes.at(header + 4) = 0x4C;
    bytes.at(header + 5) = 0x01;
    folder.Write(L"Quenta.dll", bytes);
    host->Initialize();
    ASSERT_EQ(Lines().size(), 1U);
    EXPECT_EQ(Lines()[0].find(L": [DEBUG] Failed to load Quenta.dll, [wstrQuentaDll=" + LibraryPath()), 0U);
    EXPECT_EQ(GetModuleHandleW(L"Quenta.dll"), nullptr);
    EXPECT_EQ(ReplyTo(createPlain), refusedPlain);
}

TEST_F(HostLibraryTest, ALibraryThatRefusesToLoadIsTriedAgain)
{
    Install(L"LibraryProbe", L"RefusingProbe.dll");
    host->Initialize();
    EXPECT_THAT(Lines(), ElementsAre(FailedToLoad(LibraryPath(), ERROR_DLL_INIT_FAILED)));
    InstallProbe();
    EXPECT_EQ(StatusOf(createPlain), Status::Success);
}

TEST_F(HostLibraryTest, ALibraryThatLacksAnotherOneIsRefused)
{
    Install(L"LibraryProbe", L"DependentProbe.dll");
    host->Initialize();
    EXPECT_THAT(Lines(), ElementsAre(FailedToLoad(LibraryPath(), ERROR_MOD_NOT_FOUND)));
    EXPECT_EQ(ReplyTo(createPlain), refusedPlain);
}

TEST_F(HostLibraryTest, TheLibraryIsLookedForInTheProductsFolderAlone)
{
    const TestSupport::TempDir installed;
    for (const std::wstring& end : {std::wstring(), std::wstring(L"\\")})
    {
        registry.SetString(HKEY_LOCAL_MACHINE, L"SOFTWARE\\NorvaneSoft\\Melvio", L"ProductPath",
                           installed.Path() + end);
        log->Clear();
        host->Initialize();
        EXPECT_THAT(Lines(), ElementsAre(FailedToLoad(installed.Path(L"Quenta.dll"), ERROR_MOD_NOT_FOUND)));
    }
}

TEST_F(HostLibraryTest, ACommandIsTracedAndRepeatedAtTheDebugLevelAlone)
{
    ReplyTo(L"{\"action\":1}");
    EXPECT_THAT(log->Texts(), ElementsAre(L"[INFO],[], ==> CSpecialEngineHost::Dispatch",
                                          L": [DEBUG] jsonData:{\n   \"action\" : 1\n}\n",
                                          L"[INFO],[], <== CSpecialEngineHost::Dispatch"));
    log.reset();
    log.emplace(logLevels);
    ReplyTo(L"{\"action\":1}");
    EXPECT_THAT(log->Texts(), ElementsAre(L"[INFO],[], ==> CSpecialEngineHost::Dispatch",
                                          L"[INFO],[], <== CSpecialEngineHost::Dispatch"));
}
} // namespace

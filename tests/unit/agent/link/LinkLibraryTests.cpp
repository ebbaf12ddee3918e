#include "LinkLibrary.h"

#include <gmock/gmock.h>
#include <windows.h>

#include "FakeProduct.h"
#include "LogCapture.h"
#include "MailHelper.h"
#include "TempDir.h"
#include "TestProgram.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace
{
// The program stands in a folder of the test, where there is no library unless the test puts one there.
class LinkLibraryTest : public ::testing::Test
{
protected:
    const std::wstring planted = TestSupport::TestProgram(L"planted", L"planted.dll"); // before the pretence
    TestSupport::TempDir folder;
    FakeProduct product{L"QxSessionAgent.exe", folder.Path()};
    TestSupport::LogCapture log{0x0100};
    const std::wstring library = folder.Path(L"svcLink.dll");
};
} // namespace

TEST_F(LinkLibraryTest, AMissingLibraryIsToldWithItsPath)
{
    EXPECT_EQ(LoadLinkLibrary(), Status::FromSystemError(ERROR_MOD_NOT_FOUND));
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] failed to load <" + library + L">, error=126"));
}

TEST_F(LinkLibraryTest, ALibraryOfAnotherKindIsToldWithWhatItLacks)
{
    ASSERT_TRUE(CopyFileW(planted.c_str(), library.c_str(), TRUE));
    EXPECT_EQ(LoadLinkLibrary(), Status::FromSystemError(ERROR_PROC_NOT_FOUND));
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] <" + library +
                                         L"> lacks the export _ZN17CRpcClientManagerC1EPvj, error=127"));
    EXPECT_EQ(GetModuleHandleW(L"svcLink.dll"), nullptr);
}

TEST_F(LinkLibraryTest, AFileThatIsNoLibraryIsToldAsWell)
{
    folder.Write(L"svcLink.dll", "no library");
    const AgentStatus status = LoadLinkLibrary();
    EXPECT_TRUE(Status::Failed(status));
    EXPECT_THAT(log.Texts(), ElementsAre(HasSubstr(L"failed to load <" + library + L">, error=")));
}

TEST_F(LinkLibraryTest, WithoutTheLibraryARegistrationEndsWithItsError)
{
    EXPECT_EQ(RegisterRPC(), Status::FromSystemError(ERROR_MOD_NOT_FOUND));
    EXPECT_EQ(SendEventToEventCenter(18), Status::FromSystemError(ERROR_MOD_NOT_FOUND));
    EXPECT_EQ(UnRegisterRPC(), Status::Success);
    EXPECT_THAT(log.Texts(),
                ElementsAre(L": [ERROR] failed to load <" + library + L">, error=126",
                            L"OuterClientHelper: [ERROR] executing command failed, err=-520224642",
                            L"OuterClientHelper: [ERROR] Cannot generate tracking ID, err=-520224642",
                            L"OuterClientHelper: [ERROR] executing command failed, err=-520224642"));
}

#include "ImportPatch.h"
#include "LogTest.h"

#include <regex>

namespace
{

using NameTest = LogTest;
using Names = std::vector<std::wstring>;

DWORD s_refusal = ERROR_SUCCESS;
int s_refusals = 0;

// Refuses the first slot's file so often, though it is not there when the caller looks.
HANDLE WINAPI RefuseFirstSlot(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                              DWORD disposition, DWORD flags, HANDLE model)
{
    const bool isFirst = std::wstring_view(name).ends_with(L".log") &&
                         std::wstring_view(name).find(L".2.") == std::wstring_view::npos;
    if (isFirst && s_refusals > 0)
    {
        --s_refusals;
        SetLastError(s_refusal);
        return INVALID_HANDLE_VALUE;
    }
    return CreateFileW(name, access, share, security, disposition, flags, model);
}

std::wstring OnlyName(const Names& names)
{
    return names.size() == 1 ? names.front() : L"not one file";
}

TEST_F(NameTest, IsMadeOfPrefixModuleAndSession)
{
    const TestLog log(library, Config());
    EXPECT_EQ(Files(), Names{Name(L".log")});
}

TEST_F(NameTest, TakesTheFileInPlaceOfThePrefix)
{
    VzDbgConfig config = Config();
    Put(config.logFile, L"desktop");
    const TestLog log(library, config);
    EXPECT_TRUE(OnlyName(Files()).starts_with(L"desktop_Agent_s"));
}

TEST_F(NameTest, TakesDefaultsForWhatIsEmpty)
{
    VzDbgConfig config = Config();
    Put(config.logPrefix, L"");
    Put(config.logExtension, L"");
    Put(config.moduleName, L"");
    const TestLog log(library, config);
    EXPECT_TRUE(std::regex_match(OnlyName(Files()), std::wregex(LR"(qda_s\d+\.log)"))) << "not as expected";
}

TEST_F(NameTest, ReplacesWhatAFileNameCannotHold)
{
    VzDbgConfig config = Config();
    Put(config.logPrefix, L"..\\a/b:c*d?e\"f<g>h|i\tj.k\xD83D-\xD83D\xDE00");
    Put(config.moduleName, L"..\\..\\x");
    Put(config.logExtension, L".l.o\\g");
    const TestLog log(library, config);
    EXPECT_TRUE(OnlyName(Files()).starts_with(L"___a_b_c_d_e_f_g_h_i_j.k_-\xD83D\xDE00_______x_s"));
    EXPECT_TRUE(OnlyName(Files()).ends_with(L".l_o_g"));
}

TEST_F(NameTest, IsCutWhenItIsTooLong)
{
    VzDbgConfig config = Config();
    Put(config.logFile, std::wstring(255, L'f'));
    Put(config.logExtension, std::wstring(255, L'e'));
    const TestLog log(library, config);
    EXPECT_EQ(OnlyName(Files()), std::wstring(64, L'f') + Name(L".").substr(3) + std::wstring(16, L'e'));
}

TEST_F(NameTest, EndsAStringThatFillsItsFieldWithTheField)
{
    VzDbgConfig config = Config();
    std::fill(std::begin(config.moduleName), std::end(config.moduleName), L'm');
    std::fill(std::begin(config.logPrefix), std::end(config.logPrefix), L'p');
    std::fill(std::begin(config.logFile), std::end(config.logFile), L'f');
    std::fill(std::begin(config.logExtension), std::end(config.logExtension), L'e');
    const TestLog log(library, config);
    EXPECT_TRUE(
        OnlyName(Files()).starts_with(std::wstring(64, L'f') + L"_" + std::wstring(32, L'm') + L"_s"));
    EXPECT_TRUE(OnlyName(Files()).ends_with(L"." + std::wstring(16, L'e')));
}

TEST_F(NameTest, CarriesTheProcessAndItsStartIfTheProcessWantsAFileOfItsOwn)
{
    VzDbgConfig config = Config();
    config.logProcess = 1;
    const TestLog log(library, config);
    const std::wregex expected(L"qda_Agent_s\\d+_p" + std::to_wstring(GetCurrentProcessId()) +
                               L"_20\\d{6}-\\d{6}\\.log");
    EXPECT_TRUE(std::regex_match(OnlyName(Files()), expected));
}

TEST_F(NameTest, CountsUpWhileTheFileIsHeld)
{
    const TestLog first(library, Config());
    {
        const TestLog second(library, Config());
        const TestLog third(library, Config());
        EXPECT_EQ(second.Trace(L"second\r\n") + third.Trace(L"third\r\n") + first.Trace(L"first\r\n"), 0U);
        EXPECT_EQ(Files(), (Names{Name(L".2.log"), Name(L".3.log"), Name(L".log")}));
    }
    const TestLog again(library, Config());
    EXPECT_EQ(again.Trace(L"again\r\n"), 0U);
    EXPECT_EQ(Read(Name(L".log")), "first\r\n");
    EXPECT_EQ(Read(Name(L".2.log")), "second\r\nagain\r\n");
    EXPECT_EQ(Read(Name(L".3.log")), "third\r\n");
}

TEST_F(NameTest, CountsUpPastAFileThatItsHolderRenamesMeanwhile)
{
    const TestSupport::ImportPatch patch(nullptr, "CreateFileW", &RefuseFirstSlot, library.Module());
    s_refusal = ERROR_SHARING_VIOLATION;
    s_refusals = 100;
    const TestLog log(library, Config());
    EXPECT_EQ(Files(), Names{Name(L".2.log")});
}

TEST_F(NameTest, IsTakenOverFromAHolderThatDeletesItMeanwhile)
{
    const TestSupport::ImportPatch patch(nullptr, "CreateFileW", &RefuseFirstSlot, library.Module());
    s_refusal = ERROR_ACCESS_DENIED;
    s_refusals = 1;
    const TestLog log(library, Config());
    EXPECT_EQ(Files(), Names{Name(L".log")});
}

TEST_F(NameTest, IsTheSameForAWriterThatComesLater)
{
    EXPECT_EQ(TestLog(library, Config()).Trace(L"one\r\n"), 0U);
    EXPECT_EQ(TestLog(library, Config()).Trace(L"two\r\n"), 0U);
    EXPECT_EQ(Files(), Names{Name(L".log")});
    EXPECT_EQ(Read(Name(L".log")), "one\r\ntwo\r\n");
}

TEST_F(NameTest, IsGivenBackByALogThatNothingWasWrittenTo)
{
    EXPECT_TRUE(TestLog(library, Config()).IsOpen());
    EXPECT_EQ(Files(), Names{});
}

} // namespace

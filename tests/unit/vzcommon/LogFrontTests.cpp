#include "VzComn_LogFront.h"

#include "LogCapture.h"
#include "RecordingVzDbgLog.h"

#include "VzComn_DebugLog.h"

#include <gmock/gmock.h>

#include <iomanip>
#include <memory>

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::LogCapture;
using TestSupport::LogMessage;
using namespace VzCommon;

namespace
{

class LogFrontTest : public testing::Test
{
protected:
    LogCapture log;
};

TEST_F(LogFrontTest, WritesTheTagAndThePrefixOfEachLevel)
{
    const unsigned first = __LINE__ + 1;
    LOG_INFO << L"a";
    LOG_WARN << L"b";
    LOG_ERROR << L"c";
    LOG_FATAL << L"d";
    LOG_DEBUG << L"e";
    EXPECT_THAT(log.Messages(), ElementsAre(LogMessage{L".w.", L": [INFO] a", L"LogFrontTests", first},
                                            LogMessage{L"@@@", L": [WARN] b", L"LogFrontTests", first + 1},
                                            LogMessage{L"!!!", L": [ERROR] c", L"LogFrontTests", first + 2},
                                            LogMessage{L"!!!", L": [FATAL] d", L"LogFrontTests", first + 3},
                                            LogMessage{L"???", L": [DEBUG] e", L"LogFrontTests", first + 4}));
}

TEST_F(LogFrontTest, JoinsThePiecesOfAStreamStatementInTheStreamsOwnForms)
{
    const int status = static_cast<int>(0xE0FF001AU);
    LOG_INFO << L"status " << status << L", unsigned " << 4000000000U << L", flag " << true << L", narrow "
             << "text" << L", wide " << std::wstring(L"text");
    LOG_INFO << L"0x" << std::hex << status;
    LOG_INFO << std::setw(4) << std::setfill(L'0') << 7;
    EXPECT_THAT(
        log.Texts(),
        ElementsAre(L": [INFO] status -520159206, unsigned 4000000000, flag 1, narrow text, wide text",
                    L": [INFO] 0xe0ff001a", L": [INFO] 0007"));
}

TEST_F(LogFrontTest, KeepsPercentSignsOfAStreamStatement)
{
    LOG_INFO << L"100%";
    LOG_INFO << L"%s %n %d %% %";
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] 100%", L": [INFO] %s %n %d %% %"));
}

TEST_F(LogFrontTest, KeepsLineBreaksOfAMessage)
{
    LOG_INFO << L"{\n\t\"a\" : 1\n}\n";
    const auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find(L": [INFO] {\n\t\"a\" : 1\n}\n - LogFrontTests("), std::wstring::npos);
}

TEST_F(LogFrontTest, WritesAnEmptyStatement)
{
    LOG_INFO << L"";
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] "));
}

TEST_F(LogFrontTest, FormatsPrintfStatementsWithWideStringsAndNoPrefix)
{
    const std::wstring name = L"Melvio";
    LOG_PRINTF(LogLevel::Error, L"VzCommon::Service::Base::Open() failed: 0x%08X", 1060U);
    LOG_PRINTF(LogLevel::Warn, L"Service is already running...");
    LOG_PRINTF(LogLevel::Info, L"%s|%3s|%d%%|%c|%hs", name.c_str(), L"x", -5, L'y', "narrow");
    EXPECT_THAT(log.Texts(), ElementsAre(L"VzCommon::Service::Base::Open() failed: 0x00000424",
                                         L"Service is already running...", L"Melvio|  x|-5%|y|narrow"));
    EXPECT_EQ(log.Messages()[0].tag, L"!!!");
    EXPECT_EQ(log.Messages()[1].tag, L"@@@");
}

TEST_F(LogFrontTest, TracesAScopeAtItsEntryAndAtItsExitWithThePlaceOfItsEntry)
{
    unsigned place = 0;
    {
        place = __LINE__ + 1;
        FUNCTION_TRACE(L"CProfileParser::ParseXmlFile");
        LOG_INFO << L"inside";
    }
    EXPECT_THAT(
        log.Messages(),
        ElementsAre(
            LogMessage{L"@@@", L"[INFO],[], ==> CProfileParser::ParseXmlFile", L"LogFrontTests", place},
            LogMessage{L".w.", L": [INFO] inside", L"LogFrontTests", place + 1},
            LogMessage{L"@@@", L"[INFO],[], <== CProfileParser::ParseXmlFile", L"LogFrontTests", place}));
}

TEST_F(LogFrontTest, PutsTheClassTagIntoATrace)
{
    {
        const FunctionTrace trace(L"OuterClientHelper", "C:\\a\\..\\b\\OuterClientHelper", L"Register", 7);
    }
    EXPECT_THAT(log.Messages(), ElementsAre(LogMessage{L"@@@", L"[INFO],[OuterClientHelper], ==> Register",
                                                       L"OuterClientHelper", 7},
                                            LogMessage{L"@@@", L"[INFO],[OuterClientHelper], <== Register",
                                                       L"OuterClientHelper", 7}));
}

TEST_F(LogFrontTest, TraceOwnsItsTexts)
{
    auto tag = std::make_unique<std::wstring>(L"a class tag that is not short");
    auto file = std::make_unique<std::string>("a source file whose name is not short");
    auto name = std::make_unique<std::wstring>(L"a function name that is not short");
    {
        const FunctionTrace trace(tag->c_str(), file->c_str(), name->c_str(), 3);
        *tag = std::wstring(tag->size(), L'x');
        *file = std::string(file->size(), 'x');
        *name = std::wstring(name->size(), L'x');
        tag.reset();
        file.reset();
        name.reset();
    }
    EXPECT_EQ(
        log.Messages().back(),
        (LogMessage{L"@@@", L"[INFO],[a class tag that is not short], <== a function name that is not short",
                    L"a source file whose name is not short", 3}));
}

TEST_F(LogFrontTest, UsesATracesTextAsAFormat)
{
    {
        FUNCTION_TRACE(L"half 50%% done");
    }
    EXPECT_THAT(log.Texts(), ElementsAre(L"[INFO],[], ==> half 50% done", L"[INFO],[], <== half 50% done"));
}

// A formatter that reports a bad conversion as it reports a lack of room would never come back.
TEST_F(LogFrontTest, WritesAnEmptyMessageForATraceWithABadConversion)
{
    {
        FUNCTION_TRACE(L"100%");
        FUNCTION_TRACE(L"%q");
    }
    EXPECT_THAT(log.Messages().size(), 4U);
    EXPECT_THAT(log.Texts().back(), testing::AnyOf(L"", L"[INFO],[], <== 100"));
}

TEST_F(LogFrontTest, KeepsTheLastErrorThroughAStatementOfEachKind)
{
    // What the log itself does may change the last error in any way.
    log.Writer().duringTrace = [](const wchar_t*) { SetLastError(87); };

    SetLastError(1234);
    LOG_ERROR << L"x" << (SetLastError(5), L"y");
    EXPECT_EQ(GetLastError(), 1234U);
    LOG_PRINTF(LogLevel::Error, L"x");
    EXPECT_EQ(GetLastError(), 1234U);
    {
        FUNCTION_TRACE(L"x");
        EXPECT_EQ(GetLastError(), 1234U);
    }
    EXPECT_EQ(GetLastError(), 1234U);
    EXPECT_EQ(log.Lines().size(), 4U);
    log.Writer().duringTrace = nullptr;
}

TEST(LogFront, EvaluatesArgumentsOfALevelThatIsOff)
{
    LogCapture log(LogLevel::Warn);
    int evaluated = 0;
    LOG_ERROR << ++evaluated;
    LOG_PRINTF(LogLevel::Error, L"%d", ++evaluated);
    EXPECT_EQ(evaluated, 2);
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(LogFront, PassesLevelsAsIndependentBits)
{
    LogCapture log(LogLevel::Warn);
    LOG_INFO << L"info";
    LOG_WARN << L"warn";
    LOG_ERROR << L"error";
    LOG_FATAL << L"fatal";
    LOG_DEBUG << L"debug";
    {
        FUNCTION_TRACE(L"scope");
    }
    EXPECT_THAT(log.Texts(), ElementsAre(L": [WARN] warn", L"[INFO],[], ==> scope", L"[INFO],[], <== scope"));
}

TEST(LogFront, TellsWhetherALevelIsOn)
{
    EXPECT_FALSE(IsLogEnabledFor(LogLevel::Error));
    EXPECT_FALSE(IsLogEnabledFor(LogLevel::Forced));
    LogCapture log(LogLevel::Debug);
    EXPECT_TRUE(IsLogEnabledFor(LogLevel::Debug));
    EXPECT_TRUE(IsLogEnabledFor(LogLevel::Forced));
    EXPECT_TRUE(IsLogEnabledFor(LogLevel::Debug | LogLevel::Info));
    EXPECT_FALSE(IsLogEnabledFor(LogLevel::Error));
    EXPECT_FALSE(IsLogEnabledFor(0));
}

TEST(LogFront, DoesNothingWithoutALog)
{
    ASSERT_EQ(s_pDebugLog, nullptr);
    SetLastError(77);
    LOG_ERROR << L"x";
    LOG_PRINTF(LogLevel::Error, L"%s", L"x");
    {
        FUNCTION_TRACE(L"x");
    }
    EmitLogLine({"file", 1, LogLevel::Forced}, std::wostringstream(L"x"));
    FinishDebugLog();
    EXPECT_EQ(GetLastError(), 77U);
    EXPECT_EQ(s_pDebugLog, nullptr);
}

TEST(LogFront, ATraceMayOutliveTheLog)
{
    LogCapture log;
    {
        FUNCTION_TRACE(L"last");
        ShutdownDebugLog();
        EXPECT_EQ(s_pDebugLog, nullptr);
    }
    EXPECT_THAT(log.Texts(), ElementsAre(L"[INFO],[], ==> last"));
}

TEST(LogFront, NothingIsWrittenBehindItsFinish)
{
    const LogCapture log;
    LOG_ERROR << L"last";
    FinishDebugLog();
    LOG_ERROR << L"too late";
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] last"));
    EXPECT_EQ(log.Writer().uninitializations, 1);
}

TEST(LogFront, CutsTheExtensionOffASourceAtCompileTime)
{
    static_assert(std::string_view(LogDetail::sourceName<"agent/tray/MainFrm.cpp">) == "agent/tray/MainFrm");
    static_assert(std::string_view(LogDetail::sourceName<"..\\a.b\\MainFrm.cpp">) == "..\\a.b\\MainFrm");
    static_assert(std::string_view(LogDetail::sourceName<"a.b/MainFrm">) == "a.b/MainFrm");
    static_assert(std::string_view(LogDetail::sourceName<"MainFrm.x.cpp">) == "MainFrm.x");
    static_assert(std::string_view(LogDetail::sourceName<"MainFrm">) == "MainFrm");
    static_assert(std::string_view(LogDetail::sourceName<"">).empty());
}

} // namespace

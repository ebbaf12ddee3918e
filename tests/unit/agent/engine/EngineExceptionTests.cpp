// An engine library that throws harms its own command alone.
#include "EngineHostTest.h"

using ::testing::ElementsAre;

namespace
{
class EngineExceptionTest : public EngineHostTest
{
protected:
    EngineExceptionTest() { InstallProbe(); }

    // The line about an operation that threw, with what is known of the exception.
    static std::wstring Threw(const std::wstring& operation, const std::wstring& more)
    {
        return L": [ERROR] Special engine threw an exception, [operation=" + operation + L"]" + more;
    }
};

struct Kind
{
    const wchar_t* name;
    const wchar_t* told;
};

constexpr Kind kinds[] = {
    {L"exception", L"[what=no power]"},
    {L"memory", L"[what=std::bad_alloc]"},
    {L"library", L"[error=1234]"},
    {L"null", L"[error=0]"},
    {L"number", L""},
    {L"text", L""},
    {L"own", L""},
};

struct Operation
{
    std::uint32_t action;
    const wchar_t* name;
};

constexpr Operation operations[] = {
    {0x2001, L"Perform"},    {0x2002, L"Signal"},     {0x2003, L"Query"},    {0x2004, L"QueryByKey"},
    {0x2005, L"PutDetails"}, {0x4001, L"PerformFix"}, {0x4003, L"QueryFix"}, {0x4004, L"QueryFixDetail"},
};

TEST_F(EngineExceptionTest, EveryOperationMayThrowWhateverItLikes)
{
    for (const Operation& operation : operations)
    {
        for (const Kind& kind : kinds)
        {
            SCOPED_TRACE(::testing::PrintToString(operation.name) + ::testing::PrintToString(kind.name));
            const std::wstring id = Create(std::wstring(L"throws ") + operation.name, kind.name);
            log->Clear();
            for (int again = 0; again < 2; ++again)
            {
                EXPECT_EQ(ReplyTo(ActionOn(id, operation.action, L",\"details\":1")),
                          PlainAnswer(L"null", Status::Failure));
            }
            EXPECT_THAT(Lines(),
                        ElementsAre(Threw(operation.name, kind.told), Threw(operation.name, kind.told)));
            const std::uint32_t other = operation.action == 0x2002 ? 0x2003 : 0x2002;
            EXPECT_EQ(StatusOf(ActionOn(id, other)), Status::Success);
            EXPECT_EQ(StatusOf(ActionOn(id, 0x1002)), Status::Success);
        }
    }
    EXPECT_EQ(Living(), 0);
}

TEST_F(EngineExceptionTest, AFactoryMayThrow)
{
    for (const Kind& kind : kinds)
    {
        log->Clear();
        EXPECT_EQ(ReplyTo(std::wstring(L"{\"action\":4097,\"itemId\":\"throws CreateSpecialEngine\","
                                       L"\"sessionId\":\"") +
                          kind.name + L"\"}"),
                  std::wstring(L"{\"action\":4097,\"data\":null,\"itemId\":\"throws CreateSpecialEngine\","
                               L"\"retCode\":-520159231,\"sessionId\":\"") +
                      kind.name + L"\"}");
        EXPECT_THAT(Lines(), ElementsAre(Threw(L"CreateSpecialEngine", kind.told)));
    }
    EXPECT_EQ(Create(L"plain"), L"1");
}

TEST_F(EngineExceptionTest, AnEngineThatThrowsWhenItComesUpStaysUnreachable)
{
    for (const Kind& kind : kinds)
    {
        log->Clear();
        EXPECT_EQ(
            StatusOf(std::wstring(L"{\"action\":4097,\"itemId\":\"throws Initialize\",\"sessionId\":\"") +
                     kind.name + L"\"}"),
            Status::Failure);
        EXPECT_THAT(Lines(), ElementsAre(Threw(L"Initialize", kind.told)));
    }
    EXPECT_EQ(Living(), static_cast<long>(std::size(kinds)));
    EXPECT_EQ(Create(L"plain"), L"1");
}

TEST_F(EngineExceptionTest, AnEngineMayThrowAtItsEnd)
{
    for (const Kind& kind : kinds)
    {
        const std::wstring id = Create(L"throws end", kind.name);
        log->Clear();
        EXPECT_EQ(ReplyTo(ActionOn(id, 0x1002)), PlainAnswer(L"null", Status::Failure));
        EXPECT_THAT(Lines(), ElementsAre(Threw(L"end", kind.told)));
        EXPECT_EQ(StatusOf(ActionOn(id, 0x1002)), Status::UnknownTrackId);
    }
    EXPECT_EQ(Living(), 0);
}

TEST_F(EngineExceptionTest, AnEngineMayThrowAtTheHostsEnd)
{
    for (const Kind& kind : kinds)
    {
        Create(L"throws end", kind.name);
    }
    Create(L"plain");
    log->Clear();
    host.reset();
    EXPECT_EQ(Lines().size(), std::size(kinds));
    EXPECT_EQ(GetModuleHandleW(L"Quenta.dll"), nullptr);
}
} // namespace

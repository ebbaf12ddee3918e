#include "LinkTest.h"

#include <algorithm>

#include "ObjectCounts.h"

LinkTest::LinkTest()
{
    static_cast<void>(NobodyWatches()); // the first look tells how many threads there are without
    ResetLink();
    TheCommand() = {};
}

LinkTest::~LinkTest()
{
    TheLink().LetGo();
    EXPECT_TRUE(TestSupport::WaitUntil(&NobodyWatches));
}

std::vector<std::wstring> LinkTest::Statements() const
{
    std::vector<std::wstring> texts = log.Texts();
    std::erase_if(texts, [](const std::wstring& text) { return text.starts_with(L"[INFO],["); });
    return texts;
}

std::size_t LinkTest::Count(const std::wstring& statement) const
{
    const std::vector<std::wstring> texts = Statements();
    return static_cast<std::size_t>(std::count(texts.begin(), texts.end(), statement));
}

bool LinkTest::NobodyWatches()
{
    static const std::size_t threads = TestSupport::CountThreads();
    return TestSupport::CountThreads() <= threads;
}

long long LinkTest::BlocksLeftBy(const std::function<void()>& operation)
{
    long long before = 0;
    for (int round = 0; round < 3; ++round) // what the first ones leave is made once
    {
        before = BlocksAlive();
        operation();
        log.Clear();
        TheLink().ForgetCalls();
    }
    return BlocksAlive() - before;
}

std::unique_ptr<CVzRpcClientHelper> LinkTest::MakeHelper()
{
    return std::make_unique<CVzRpcClientHelper>(0, RpcClientProduct);
}

CommandNote& TheCommand()
{
    static CommandNote note;
    return note;
}

AgentStatus NoteCommand(QxCommon::JsonDb& command)
{
    const Plenty memory;
    ++TheCommand().calls;
    TheCommand().text = command.ToFastString();
    command[L"retCode"].SetInt(TheCommand().status);
    return TheCommand().status;
}

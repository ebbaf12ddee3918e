#include "EventTest.h"

#include <stdexcept>

#include "MailHelper.h"

EventTest::EventTest()
{
    TheLink().GiveProcess("18446744073709551615");
}

EventTest::~EventTest()
{
    UnRegisterRPC();
}

void EventTest::Connect()
{
    RegisterRPC();
    ASSERT_TRUE(TestSupport::WaitUntil(&NobodyWatches));
    TheLink().ForgetCalls();
}

std::vector<SentCommand> EventTest::Mails()
{
    std::vector<SentCommand> mails = TheLink().Commands(0x2051);
    std::erase_if(mails, [](const SentCommand& mail)
                  { return mail.message.find(Bytes().UInt(0xE000F, 0x1802).text) == std::string::npos; });
    for (const SentCommand& mail : mails)
    {
        const std::wstring json = TextItem(mail.message, 0xE001F);
        if (mail.message != MailMessage(json, GetCurrentThreadId(), 5, 0x1802))
        {
            throw std::runtime_error("a mail that is no event");
        }
    }
    return mails;
}

std::vector<std::wstring> EventTest::Requests()
{
    std::vector<std::wstring> requests;
    for (const SentCommand& mail : Mails())
    {
        std::wstring json = TextItem(mail.message, 0xE001F);
        json.erase(json.find_last_not_of(L'\n') + 1);
        requests.push_back(json);
    }
    return requests;
}

std::vector<std::wstring> EventTest::Own() const
{
    std::vector<std::wstring> texts = Statements();
    std::erase_if(texts, [](const std::wstring& text) { return text.starts_with(L"OuterClientHelper"); });
    return texts;
}

std::vector<std::wstring> EventTest::Errors() const
{
    std::vector<std::wstring> texts = Own();
    std::erase_if(texts, [](const std::wstring& text) { return !text.starts_with(L": [ERROR]"); });
    return texts;
}

std::wstring EventTest::SessionRequest(unsigned eventId)
{
    DWORD session = 0;
    ProcessIdToSessionId(GetCurrentProcessId(), &session);
    return L"{\"eventId\":" + std::to_wstring(eventId) + L",\"winSessionId\":" + std::to_wstring(session) +
           L"}";
}

void RefuseMails()
{
    TheLink().AnswerTo(0x2051, {{0, MailAnswer(static_cast<std::uint32_t>(refusal), "{}")}});
}

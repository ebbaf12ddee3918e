#include "CommandTest.h"

#include "CallbackHelper.h"
#include "UiLaunch.h"

FakeConsole& TheConsole()
{
    static FakeConsole console;
    return console;
}

AgentStatus ShowQxUi(const std::wstring& arguments)
{
    TheConsole().calls.push_back(L"mode <" + arguments + L">");
    return TheConsole().answer;
}

AgentStatus ShowPopup(const std::wstring& featureId, std::uint32_t popupId, const std::wstring& param)
{
    TheConsole().calls.push_back(L"popup <" + featureId + L"> " + std::to_wstring(popupId) + L" <" + param +
                                 L">");
    return TheConsole().answer;
}

std::wstring InJson(const std::wstring& text)
{
    std::wstring escaped;
    for (const wchar_t character : text)
    {
        if (character == L'\\' || character == L'"')
        {
            escaped += L'\\';
        }
        escaped += character;
    }
    return escaped;
}

std::wstring ReplyTo(const std::wstring& command)
{
    QxCommon::JsonDb json;
    EXPECT_EQ(json.ParseFromString(command), 0U);
    const AgentStatus status = OnServiceCommand(json);
    if (json.HasMember(L"retCode"))
    {
        EXPECT_EQ(json[L"retCode"].AsInt(), status);
    }
    std::wstring reply = json.ToFastString();
    reply.pop_back();
    return reply;
}

std::wstring PlainReply(int id, AgentStatus status)
{
    return L"{\"JD_COMMAND_ID\":" + std::to_wstring(id) + L",\"retCode\":" + std::to_wstring(status) + L"}";
}

CommandTest::CommandTest()
{
    TheConsole() = {};
    g_bActiveWindowTimerSet = false;
    g_bInputInfoTimerSet = false;
}

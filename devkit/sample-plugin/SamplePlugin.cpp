// A plug-in to start from: copy the folder, change the id, and answer mails of your own.
#include "HostPlugin.h"

#include <string>
#include <string_view>

namespace
{

constexpr std::uint32_t samplePlugin = 0x4E0100;

// The mails.
constexpr std::uint32_t greet = 1;     // answers {"greeting": "..."}
constexpr std::uint32_t closeMenu = 2; // has the caller close the start menu's window; answers what it said

void Set(HostPluginText* text, std::wstring_view value)
{
    text->Set(value.data(), static_cast<std::uint32_t>(value.size()));
}

// Takes the reply of a client.
class ReplyText : public HostPluginText
{
public:
    virtual ~ReplyText() = default;

    void Set(const wchar_t* text, std::uint32_t characters) override { m_text.assign(text, characters); }

    [[nodiscard]] const std::wstring& Get() const { return m_text; }

private:
    std::wstring m_text;
};

class SamplePlugin : public HostPlugin
{
public:
    virtual ~SamplePlugin() = default;

    std::uint32_t Version() override { return HostPluginVersion; }

    std::uint32_t Id() override { return samplePlugin; }

    std::int32_t Start(HostPluginServices* services) override
    {
        m_services = services;
        return HostPluginStatus::Success;
    }

    std::int32_t OnMail(const HostPluginMail* mail, HostPluginText* reply) override
    {
        switch (mail->mailId)
        {
        case greet: return Greet(*mail, reply);
        case closeMenu: return CloseMenu(*mail, reply);
        default: return HostPluginStatus::NotFound;
        }
    }

    void Stop() override { m_services = nullptr; }

private:
    static std::int32_t Greet(const HostPluginMail& mail, HostPluginText* reply)
    {
        Set(reply, L"{\"greeting\":\"Hello, process " + std::to_wstring(mail.processId) + L"\"}");
        return HostPluginStatus::Success;
    }

    // The client is called back while its own mail is still under way; it answers on another thread.
    std::int32_t CloseMenu(const HostPluginMail& mail, HostPluginText* reply)
    {
        constexpr std::wstring_view command = L"{\"JD_COMMAND_ID\":3000}";
        constexpr std::uint32_t timeoutMs = 5000;
        ReplyText answer;
        const std::int32_t status = m_services->CallClient(
            mail.processId, command.data(), static_cast<std::uint32_t>(command.size()), timeoutMs, &answer);
        if (status >= 0)
        {
            Set(reply, answer.Get());
        }
        return status;
    }

    HostPluginServices* m_services = nullptr; // Weak. Set between Start and Stop.
};

} // namespace

extern "C" __declspec(dllexport) std::int32_t CreateHostPlugin(std::uint32_t version, HostPlugin** plugin)
{
    if (version != HostPluginVersion)
    {
        return HostPluginStatus::InvalidParameter;
    }
    static SamplePlugin samplePluginObject;
    *plugin = &samplePluginObject;
    return HostPluginStatus::Success;
}

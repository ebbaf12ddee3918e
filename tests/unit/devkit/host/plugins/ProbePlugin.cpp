// A plug-in that behaves as PROBE tells.
#include "HostPlugin.h"

#include <windows.h>

#include <stdexcept>
#include <string>

namespace
{

enum Probe
{
    Works,
    CrashesInFactory,
    ThrowsInFactory,
    MakesNothing,
    OtherVersion,
    CrashesAtStart,
    RefusesToStart,
    CrashesOnLoad
};

void Crash()
{
    RaiseException(EXCEPTION_ACCESS_VIOLATION, 0, 0, nullptr);
}

class Text : public HostPluginText
{
public:
    virtual ~Text() = default;

    void Set(const wchar_t* text, std::uint32_t characters) override { value.assign(text, characters); }

    std::wstring value;
};

class Plugin : public HostPlugin
{
public:
    virtual ~Plugin() = default;

    std::uint32_t Version() override { return HostPluginVersion + (PROBE == OtherVersion ? 1U : 0U); }

    std::uint32_t Id() override { return 0x4E0200; }

    std::int32_t Start(HostPluginServices* given) override
    {
        services = given;
        if (PROBE == CrashesAtStart)
        {
            Crash();
        }
        return PROBE == RefusesToStart ? HostPluginStatus::Failure : HostPluginStatus::Success;
    }

    // 1 echoes, 2 throws, 3 calls the caller back, 4 sets nothing, 5 throws as another compiler's code does.
    std::int32_t OnMail(const HostPluginMail* mail, HostPluginText* reply) override
    {
        switch (mail->mailId)
        {
        case 1: reply->Set(mail->request, mail->requestCharacters); return HostPluginStatus::Success;
        case 2: throw std::runtime_error("thrown by a plug-in");
        case 3: return CallBack(*mail, reply);
        case 5: RaiseException(0xE06D7363, EXCEPTION_NONCONTINUABLE, 0, nullptr); return 0;
        default: return HostPluginStatus::Success;
        }
    }

    void Stop() override { services->Log(L"stopped", 7); }

private:
    std::int32_t CallBack(const HostPluginMail& mail, HostPluginText* reply)
    {
        Text answer;
        const std::int32_t status = services->CallClient(mail.processId, L"{}", 2, 1000, &answer);
        reply->Set(answer.value.c_str(), static_cast<std::uint32_t>(answer.value.size()));
        return status;
    }

    HostPluginServices* services = nullptr;
};

} // namespace

extern "C" __declspec(dllexport) std::int32_t CreateHostPlugin(std::uint32_t /*version*/, HostPlugin** plugin)
{
    if (PROBE == CrashesInFactory)
    {
        Crash();
    }
    if (PROBE == ThrowsInFactory)
    {
        throw std::runtime_error("thrown by a factory");
    }
    static Plugin probe;
    *plugin = PROBE == MakesNothing ? nullptr : &probe;
    return HostPluginStatus::Success;
}

BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, void* /*reserved*/)
{
    if (PROBE == CrashesOnLoad && reason == DLL_PROCESS_ATTACH)
    {
        Crash();
    }
    return TRUE;
}

#include "CommandTimer.h"

#include "HostPlugin.h"
#include "Stopwatch.h"

#include <string>
#include <string_view>
#include <vector>

namespace
{
constexpr int blocks = 40;
constexpr int callsOfABlock = 50;
constexpr std::uint32_t timeout = 10000; // milliseconds

using Times = std::vector<double>; // milliseconds

class Timer : public HostPlugin
{
public:
    virtual ~Timer() = default;

    std::uint32_t Version() override { return HostPluginVersion; }

    std::uint32_t Id() override { return CommandTimer::PluginId; }

    std::int32_t Start(HostPluginServices* services) override
    {
        m_services = services;
        return HostPluginStatus::Success;
    }

    std::int32_t OnMail(const HostPluginMail* mail, HostPluginText* reply) override
    {
        const std::wstring_view request(mail->request != nullptr ? mail->request : L"",
                                        mail->requestCharacters);
        const std::size_t end = request.find(L'\n');
        if (mail->mailId != CommandTimer::Compare || end == std::wstring_view::npos)
        {
            return HostPluginStatus::InvalidParameter;
        }
        return Compare(request.substr(0, end), request.substr(end + 1), reply);
    }

    void Stop() override { m_services = nullptr; }

private:
    std::int32_t Compare(std::wstring_view first, std::wstring_view second, HostPluginText* reply)
    {
        Times times[2];
        for (int block = 0; block < blocks; ++block)
        {
            if (!RunBlock(first, times[0]) || !RunBlock(second, times[1]))
            {
                return HostPluginStatus::Failure;
            }
        }
        const std::wstring text =
            L"{\"first\":" + Nanoseconds(times[0]) + L",\"second\":" + Nanoseconds(times[1]) + L"}";
        reply->Set(text.data(), static_cast<std::uint32_t>(text.size()));
        return HostPluginStatus::Success;
    }

    bool RunBlock(std::wstring_view command, Times& times)
    {
        for (int call = 0; call < callsOfABlock; ++call)
        {
            const LARGE_INTEGER begin = Now();
            const std::int32_t status = m_services->CallClient(
                0, command.data(), static_cast<std::uint32_t>(command.size()), timeout, nullptr);
            times.push_back(Milliseconds(begin, Now()));
            if (status < 0)
            {
                return false;
            }
        }
        return true;
    }

    static std::wstring Nanoseconds(const Times& times)
    {
        return std::to_wstring(static_cast<std::uint32_t>(Median(times) * 1e6));
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
    static Timer timer;
    *plugin = &timer;
    return HostPluginStatus::Success;
}

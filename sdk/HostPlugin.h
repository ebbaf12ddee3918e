#pragma once

// A plug-in of the reference host service: a DLL in the folder "plugins" beside QxSvcHost.exe, which exports
// CreateHostPlugin. It takes the mails that clients send to its plug-in id.
//
//     class Greeter : public HostPlugin { ... };
//
//     extern "C" __declspec(dllexport) std::int32_t CreateHostPlugin(std::uint32_t version, HostPlugin**
//     plugin)
//     {
//         if (version != HostPluginVersion)
//         {
//             return HostPluginStatus::InvalidParameter;
//         }
//         static Greeter greeter;
//         *plugin = &greeter;
//         return HostPluginStatus::Success;
//     }
//
// Compiler and C++ library of the two sides may differ: only numbers, UTF-16 text and pure virtual functions
// cross, nobody frees what the other one made, and no exception should cross either. The service contains
// one that does if it is a C++ exception, and answers the mail with HostPluginStatus::Failure. The service
// never unloads the DLL.

#include <cstdint>

// Rises with each change of this header; the two sides must agree.
inline constexpr std::uint32_t HostPluginVersion = 1;

// Negative is failure. Any other number of that kind will do as well.
namespace HostPluginStatus
{
inline constexpr std::int32_t Success = 0x20FF0000;
inline constexpr auto Failure = static_cast<std::int32_t>(0xE0FF0001U);
inline constexpr auto InvalidParameter = static_cast<std::int32_t>(0xE0FF0007U);
inline constexpr auto NotFound = static_cast<std::int32_t>(0xE0FF000EU);
} // namespace HostPluginStatus

// Takes a text. Made by whoever calls; valid during that call alone.
class HostPluginText
{
public:
    // Replaces the text so far. characters does not count a terminator, and none is needed.
    virtual void Set(const wchar_t* text, std::uint32_t characters) = 0;

protected:
    ~HostPluginText() = default;
};

// One mail. Everything is valid during the call alone.
struct HostPluginMail
{
    std::uint32_t size; // of this record in bytes; a later version may add fields at the end
    std::uint32_t mailId;
    std::uint32_t processId; // of the caller, and its session: as the system names them
    std::uint32_t sessionId;
    const wchar_t* request; // JSON text as it came, to be distrusted; null if the mail has none
    std::uint32_t requestCharacters;
};

// What the service offers its plug-ins. Valid from Start until Stop has returned. Any thread.
class HostPluginServices
{
public:
    // Sends a command, JSON text, to a registered client and waits for its reply, at most as long as told.
    // process id 0 is the only registered process. Negative if there is no such client, if it ended
    // meanwhile, if the time is over or if the client says so. The reply may be null.
    virtual std::int32_t CallClient(std::uint32_t processId, const wchar_t* command, std::uint32_t characters,
                                    std::uint32_t timeoutMs, HostPluginText* reply) = 0;

    // Writes a line to the service's log.
    virtual void Log(const wchar_t* text, std::uint32_t characters) = 0;

protected:
    ~HostPluginServices() = default;
};

// The plug-in.
class HostPlugin
{
public:
    // HostPluginVersion, as the plug-in was built with it.
    virtual std::uint32_t Version() = 0;

    // Whose mails it takes. 5 and 0x4E0003 replace the service's own plug-ins of these ids; 0x4E000C and
    // 0x4E00FF are the service's alone, and of two plug-ins with one id the second is refused.
    virtual std::uint32_t Id() = 0;

    // The first call, before any mail. A negative status refuses to work; no other call comes then.
    virtual std::int32_t Start(HostPluginServices* services) = 0;

    // Answers a mail: the status and, where the mail had a request, the reply, JSON text that is "{}" unless
    // it is set. Any thread, several at once; may take its time, the caller alone waits.
    virtual std::int32_t OnMail(const HostPluginMail* mail, HostPluginText* reply) = 0;

    // The last call: no mail is under way. The plug-in ends its threads; the process ends soon.
    virtual void Stop() = 0;

protected:
    ~HostPlugin() = default;
};

// The export, called once.
using CreateHostPluginFunction = std::int32_t (*)(std::uint32_t version, HostPlugin** plugin);
inline constexpr char CreateHostPluginName[] = "CreateHostPlugin";

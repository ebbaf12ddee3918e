#include "VzComn_LogChannel.h"

#include "VzComn_DebugLog.h"
#include "VzComn_LogEmit.h"

#include <atomic>
#include <exception>

namespace VzCommon
{

namespace
{

constinit std::atomic<LogFolderProvider> s_feedbackErrorFolder{nullptr};

// A log that starts at its first line.
class Channel
{
public:
    Channel(const wchar_t* channelName, LogFolderProvider channelFolder)
        : name(channelName), folderProvider(channelFolder)
    {
    }

    void Emit(const LogLocation& location, const std::wostringstream& stream) noexcept
    {
        try
        {
            Start();
        }
        catch (const std::exception&) // no memory: the next line tries again
        {
            return;
        }
        EmitTo(log, location, stream);
    }

private:
    // Two threads at once do no harm: the log starts for one of them, and the other waits for it.
    void Start()
    {
        if (started)
        {
            return;
        }
        const std::wstring folder = folderProvider();
        if (!folder.empty())
        {
            log.Initialize(name, Storage::Key::ForIniFile(folder.c_str(), LogConfigurationFile), folder);
        }
        started = true; // Deliberate: whatever the result was.
    }

    const wchar_t* name;
    LogFolderProvider folderProvider;
    DebugLog log;
    std::atomic<bool> started{false};
};

std::wstring FeedbackErrorFolder()
{
    const LogFolderProvider provider = s_feedbackErrorFolder;
    if (provider == nullptr)
    {
        return {};
    }
    try
    {
        return provider();
    }
    catch (const std::exception&)
    {
        return {};
    }
}

// Lines may come from the initialisation of other statics, before the channels are there, and from a crash at
// the exit, behind their destruction.
constinit std::atomic<bool> s_channelsLive{false};

struct Channels
{
    Channels() { s_channelsLive = true; }

    ~Channels() { s_channelsLive = false; }

    Channels(const Channels&) = delete;
    Channels& operator=(const Channels&) = delete;

    Channel event{L"Event", &LogModuleFolder};
    Channel feedbackError{L"FeedbackError", &FeedbackErrorFolder};
};

Channels s_channels;

} // namespace

void SetFeedbackErrorFolder(LogFolderProvider provider)
{
    s_feedbackErrorFolder = provider;
}

void EmitEventLine(const LogLocation& location, const std::wostringstream& stream) noexcept
{
    if (s_channelsLive)
    {
        s_channels.event.Emit(location, stream);
    }
}

void EmitFeedbackErrorLine(const LogLocation& location, const std::wostringstream& stream) noexcept
{
    if (s_channelsLive)
    {
        s_channels.feedbackError.Emit(location, stream);
    }
}

} // namespace VzCommon

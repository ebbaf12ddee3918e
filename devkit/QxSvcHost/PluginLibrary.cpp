#include "PluginLibrary.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "ForeignCode.h"
#include "QxCommon_utility.h"
#include "VzComn_Exception.h"
#include "VzComn_Handle.h"
#include "VzComn_LogFront.h"

namespace SvcHost
{
namespace
{
// Takes a plug-in's text. Nothing is thrown at the plug-in.
class Text : public HostPluginText
{
public:
    virtual ~Text() = default;

    void Set(const wchar_t* text, std::uint32_t characters) override
    {
        try
        {
            m_text.assign(text != nullptr ? text : L"", text != nullptr ? characters : 0);
        }
        catch (const std::bad_alloc&)
        {
            m_complete = false;
        }
    }

    [[nodiscard]] bool IsComplete() const { return m_complete; }

    [[nodiscard]] std::wstring& Get() { return m_text; }

private:
    std::wstring m_text = L"{}";
    bool m_complete = true;
};

// Stands in the service's table for a plug-in of a library.
class LibraryPlugin : public Plugin
{
public:
    explicit LibraryPlugin(HostPlugin& plugin) : m_plugin(plugin) {}

    MailReply OnMail(const MailRequest& mail) override
    {
        HostPluginMail record{};
        record.size = sizeof(record);
        record.mailId = mail.mailId;
        record.processId = mail.caller.processId;
        record.sessionId = mail.caller.sessionId;
        record.request = mail.json ? mail.json->c_str() : nullptr;
        record.requestCharacters = mail.json ? static_cast<std::uint32_t>(mail.json->size()) : 0;
        Text reply;
        AgentStatus result = Status::Failure;
        const std::uint32_t exception =
            CallForeignCode([&] { result = m_plugin.OnMail(&record, &reply); }, Contain::CppExceptions);
        if (exception != 0)
        {
            LOG_ERROR << L"a plug-in threw, mail=0x" << std::hex << mail.mailId << L", code=0x" << exception;
            return {Status::Failure};
        }
        return {reply.IsComplete() ? result : Status::OutOfMemory, std::move(reply.Get())};
    }

private:
    HostPlugin& m_plugin;
};

// What a library's first calls came to.
struct Loaded
{
    HMODULE library = nullptr; // never unloaded: it may have threads and callbacks
    DWORD error = 0;
    const wchar_t* refusal = nullptr; // why it cannot be used
    HostPlugin* plugin = nullptr;
    std::uint32_t id = 0;
};

// Runs inside the guard: nothing in here may need a destructor.
void Open(const wchar_t* path, Loaded& loaded)
{
    loaded.library =
        LoadLibraryExW(path, nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (loaded.library == nullptr)
    {
        loaded.error = GetLastError();
        loaded.refusal = L"it cannot be loaded";
        return;
    }
    const FARPROC address = GetProcAddress(loaded.library, CreateHostPluginName);
    if (address == nullptr)
    {
        loaded.refusal = L"it exports no CreateHostPlugin";
        return;
    }
    const auto create = reinterpret_cast<CreateHostPluginFunction>(reinterpret_cast<void*>(address));
    if (create(HostPluginVersion, &loaded.plugin) < 0 || loaded.plugin == nullptr)
    {
        loaded.refusal = L"it made no plug-in";
        return;
    }
    if (loaded.plugin->Version() != HostPluginVersion)
    {
        loaded.refusal = L"it is of another version";
        return;
    }
    loaded.id = loaded.plugin->Id();
}

void LogRefusal(const std::wstring& path, const wchar_t* reason, std::uint32_t code)
{
    LOG_ERROR << L"plug-in refused, file=" << path << L", reason: " << reason << L", code=0x" << std::hex
              << code;
}
} // namespace

class PluginLibraries::Services : public HostPluginServices
{
public:
    explicit Services(Commander& commander) : m_commander(commander) {}

    virtual ~Services() = default;

    std::int32_t CallClient(std::uint32_t processId, const wchar_t* command, std::uint32_t characters,
                            std::uint32_t timeoutMs, HostPluginText* reply) override
    {
        try
        {
            if (command == nullptr)
            {
                return Status::InvalidParameter;
            }
            const Commander::Outcome outcome =
                m_commander.Send(processId, {command, characters}, std::chrono::milliseconds(timeoutMs));
            if (reply != nullptr && outcome.reply)
            {
                reply->Set(outcome.reply->c_str(), static_cast<std::uint32_t>(outcome.reply->size()));
            }
            return outcome.status;
        }
        catch (VzCommon::Exception::Base* caught)
        {
            const std::unique_ptr<VzCommon::Exception::Base> exception(caught);
            return Status::Failure;
        }
        catch (const std::bad_alloc&)
        {
            return Status::OutOfMemory;
        }
    }

    void Log(const wchar_t* text, std::uint32_t characters) override
    {
        try
        {
            LOG_INFO << std::wstring_view(text != nullptr ? text : L"", text != nullptr ? characters : 0);
        }
        catch (const std::bad_alloc&) // NOLINT(bugprone-empty-catch): a log line never fails its caller
        {
        }
    }

private:
    Commander& m_commander;
};

PluginLibraries::PluginLibraries(Commander& commander) : m_services(std::make_unique<Services>(commander)) {}

PluginLibraries::~PluginLibraries()
{
    Stop();
}

void PluginLibraries::Load(const std::wstring& folder, PluginTable& table)
{
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW entry{};
    const VzCommon::FindHandle search(FindFirstFileW(QxCommon::AppendName(folder, L"*.dll").c_str(), &entry));
    for (bool found = static_cast<bool>(search); found; found = FindNextFileW(search.Get(), &entry) != FALSE)
    {
        names.emplace_back(entry.cFileName);
    }
    std::sort(names.begin(), names.end());
    for (const std::wstring& name : names)
    {
        LoadOne(QxCommon::AppendName(folder, name), table);
    }
}

void PluginLibraries::LoadOne(const std::wstring& path, PluginTable& table)
{
    Loaded loaded;
    std::uint32_t exception = CallForeignCode([&] { Open(path.c_str(), loaded); }, Contain::Everything);
    if (exception != 0 || loaded.refusal != nullptr)
    {
        LogRefusal(path, loaded.refusal != nullptr ? loaded.refusal : L"it crashed",
                   exception | loaded.error);
        return;
    }
    if (!table.Add(loaded.id, std::make_unique<LibraryPlugin>(*loaded.plugin)))
    {
        LogRefusal(path, L"its id is 0 or taken", loaded.id);
        return;
    }
    AgentStatus started = Status::Failure;
    exception =
        CallForeignCode([&] { started = loaded.plugin->Start(m_services.get()); }, Contain::Everything);
    if (exception != 0 || Status::Failed(started))
    {
        table.Remove(loaded.id);
        LogRefusal(path, exception != 0 ? L"it crashed at its start" : L"it did not start",
                   exception != 0 ? exception : static_cast<std::uint32_t>(started));
        return;
    }
    m_started.push_back(loaded.plugin);
    LOG_INFO << L"plug-in loaded, file=" << path << L", id=0x" << std::hex << loaded.id;
}

void PluginLibraries::Stop()
{
    for (HostPlugin* plugin : std::exchange(m_started, {}))
    {
        if (const std::uint32_t exception = CallForeignCode([&] { plugin->Stop(); }, Contain::Everything))
        {
            LOG_ERROR << L"a plug-in failed to stop, code=0x" << std::hex << exception;
        }
    }
}

} // namespace SvcHost

#include <map>
#include <string>

#include <windows.h>

#include "Commands.h"

namespace
{
// Objects that this program keeps alive, by the number that the test knows them under.
std::map<std::uint32_t, HANDLE>& Held()
{
    static std::map<std::uint32_t, HANDLE> held;
    return held;
}

// Rights that nobody has: whoever opens the object by name is refused.
SECURITY_ATTRIBUTES* NoRights()
{
    static ACL nobody = {};
    static SECURITY_DESCRIPTOR descriptor = {};
    static SECURITY_ATTRIBUTES attributes = {sizeof(attributes), &descriptor, FALSE};
    InitializeAcl(&nobody, sizeof(nobody), ACL_REVISION);
    InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&descriptor, TRUE, &nobody, FALSE);
    return &attributes;
}

HANDLE Make(const Record& request, SECURITY_ATTRIBUTES* security, const wchar_t* name)
{
    const std::wstring kind = request.Text("kind");
    const BOOL set = request.Flag("set");
    if (kind == L"event")
    {
        return CreateEventW(security, TRUE, set, name);
    }
    if (kind == L"mutex")
    {
        return CreateMutexW(security, set, name);
    }
    if (kind == L"semaphore")
    {
        return CreateSemaphoreW(security, 0, 1, name);
    }
    if (kind == L"timer")
    {
        return CreateWaitableTimerW(security, TRUE, name);
    }
    if (kind == L"section")
    {
        return CreateFileMappingW(INVALID_HANDLE_VALUE, security, PAGE_READWRITE, 0, 1, name);
    }
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
}

// {"kind", "name", "set", "noRights"}: creates the object and keeps it. An object that existed gives 183.
Records Create(const Record& request)
{
    static std::uint32_t last = 0;
    const std::wstring name = request.Text("name");
    SetLastError(ERROR_SUCCESS);
    HANDLE object = Make(request, request.Flag("noRights") ? NoRights() : nullptr, name.c_str());
    Record record = ErrorRecord(GetLastError());
    if (object != nullptr)
    {
        Held()[++last] = object;
        record.Set("id", last);
    }
    return {record};
}

Records Close(const Record& request)
{
    const auto held = Held().find(request.Small("id"));
    if (held == Held().end())
    {
        return {ErrorRecord(ERROR_INVALID_HANDLE)};
    }
    CloseHandle(held->second);
    Held().erase(held);
    return {ErrorRecord(ERROR_SUCCESS)};
}

Records SetNamedEvent(const Record& request)
{
    HANDLE event = OpenEventW(EVENT_MODIFY_STATE, FALSE, request.Text("name").c_str());
    const DWORD error = event != nullptr && SetEvent(event) ? ERROR_SUCCESS : GetLastError();
    CloseHandle(event);
    return {ErrorRecord(error)};
}

// Whether a pipe of that name waits for a client.
Record QueryPipe(const std::wstring& name)
{
    constexpr DWORD patience = 1; // milliseconds; 0 means as long as the pipe's owner likes
    return ErrorRecord(WaitNamedPipeW(name.c_str(), patience) ? ERROR_SUCCESS : GetLastError());
}

// Whether the event, the mutex or the pipe of that name is there, and an event's state.
Records Query(const Record& request)
{
    const std::wstring name = request.Text("name");
    if (request.Text("kind") == L"pipe")
    {
        return {QueryPipe(name)};
    }
    const bool isMutex = request.Text("kind") == L"mutex";
    HANDLE object =
        isMutex ? OpenMutexW(SYNCHRONIZE, FALSE, name.c_str()) : OpenEventW(SYNCHRONIZE, FALSE, name.c_str());
    Record record = ErrorRecord(object != nullptr ? ERROR_SUCCESS : GetLastError());
    if (object != nullptr && !isMutex)
    {
        record.Set("set", WaitForSingleObject(object, 0) == WAIT_OBJECT_0 ? 1 : 0);
    }
    CloseHandle(object);
    return {record};
}

// {"subkey", "name", "value" or "number"}: writes a text or a number of 32 bits under HKEY_LOCAL_MACHINE;
// with neither, removes it.
Records SetRegistry(const Record& request)
{
    const std::wstring subkey = request.Text("subkey");
    const std::wstring name = request.Text("name");
    if (request.Has("number"))
    {
        const DWORD number = request.Small("number");
        return {ErrorRecord(static_cast<std::uint32_t>(RegSetKeyValueW(
            HKEY_LOCAL_MACHINE, subkey.c_str(), name.c_str(), REG_DWORD, &number, sizeof(number))))};
    }
    const std::wstring value = request.Text("value");
    const auto size = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
    const LSTATUS status =
        request.Has("value")
            ? RegSetKeyValueW(HKEY_LOCAL_MACHINE, subkey.c_str(), name.c_str(), REG_SZ, value.c_str(), size)
            : RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, subkey.c_str(), name.c_str());
    return {ErrorRecord(static_cast<std::uint32_t>(status))};
}
} // namespace

void AddObjectCommands(CommandTable& table)
{
    table[L"create"] = Create;
    table[L"close"] = Close;
    table[L"setEvent"] = SetNamedEvent;
    table[L"query"] = Query;
    table[L"setRegistry"] = SetRegistry;
}

#include "VzComn_Synchronize.h"

#include "VzComn_CreationNames.h"
#include "VzComn_Error.h"
#include "VzComn_SecurityAttributes.h"

namespace VzCommon::Synchronize
{

namespace
{

namespace Kind = AccessControl::Kind;

constexpr DWORD eventQueryState = 1; // EVENT_QUERY_STATE, which the platform's headers keep to drivers

// The final name of a named object. False with error 160 if there is none.
bool MakeObjectName(const std::wstring& name, std::wstring (CreationNames::*form)() const,
                    std::wstring& objectName, std::uint32_t* error)
{
    objectName = name.empty() ? name : (CreationNames(name).*form)();
    return objectName.empty() ? Fail(error, ERROR_BAD_ARGUMENTS) : Succeed(error);
}

// Takes over what a creating call gave; lastError is what it left.
bool TakeOver(KernelHandle& handle, HANDLE created, DWORD lastError, bool mustBeNew, std::uint32_t* error)
{
    handle.Reset(created);
    if (!handle)
    {
        return Fail(error, lastError);
    }
    if (mustBeNew && lastError == ERROR_ALREADY_EXISTS)
    {
        handle.Reset();
        return Fail(error, lastError);
    }
    return Report(error, lastError, true); // 183 tells that the object was there before
}

bool CloseAndClear(KernelHandle& handle)
{
    const bool closed = handle.Close();
    static_cast<void>(handle.Release());
    return closed;
}

} // namespace

CriticalSection::CriticalSection()
{
    InitializeCriticalSection(&section);
}

CriticalSection::~CriticalSection()
{
    DeleteCriticalSection(&section);
}

void CriticalSection::Lock()
{
    EnterCriticalSection(&section);
}

void CriticalSection::Unlock()
{
    LeaveCriticalSection(&section);
}

bool CriticalSection::TryLock()
{
    return TryEnterCriticalSection(&section) != FALSE;
}

bool Mutex::CreateLocal(const std::wstring& name, bool mustBeNew, bool initialOwner, std::uint32_t* error)
{
    if (handle)
    {
        return Fail(error, ERROR_INVALID_HANDLE);
    }
    std::wstring objectName;
    if (!MakeObjectName(name, &CreationNames::GetLocalName, objectName, error))
    {
        return false;
    }
    AccessControl::SecurityAttributes attributes(mustBeNew ? Kind::NewMutex : Kind::Mutex, false);
    const HANDLE created =
        CreateMutexW(attributes.ForCreation(), initialOwner ? TRUE : FALSE, objectName.c_str());
    const DWORD lastError = GetLastError();
    return TakeOver(handle, created, lastError, mustBeNew, error);
}

bool Mutex::Close()
{
    return CloseAndClear(handle);
}

void Mutex::Lock()
{
    WaitForSingleObject(handle.Get(), timeout);
}

void Mutex::Unlock()
{
    ReleaseMutex(handle.Get());
}

bool Event::CreateGlobal(const std::wstring& name, bool mustBeNew, bool manualReset, bool initialState,
                         std::uint32_t* error)
{
    if (handle)
    {
        return Fail(error, ERROR_INVALID_HANDLE);
    }
    std::wstring objectName;
    if (!MakeObjectName(name, &CreationNames::GetGlobalName, objectName, error))
    {
        return false;
    }
    AccessControl::SecurityAttributes attributes(mustBeNew ? Kind::NewEvent : Kind::Event, false);
    const HANDLE created = CreateEventW(attributes.ForCreation(), manualReset ? TRUE : FALSE,
                                        initialState ? TRUE : FALSE, objectName.c_str());
    const DWORD lastError = GetLastError();
    return TakeOver(handle, created, lastError, mustBeNew, error);
}

bool Event::CreateMultipleGlobal(const wchar_t* name, std::uint32_t* error)
{
    return CreateGlobal(name != nullptr ? name : L"", false, true, false, error);
}

bool Event::Close()
{
    return CloseAndClear(handle);
}

bool Event::ExistsGlobal(const wchar_t* name)
{
    std::wstring objectName;
    if (!MakeObjectName(name != nullptr ? name : L"", &CreationNames::GetGlobalName, objectName, nullptr))
    {
        return false;
    }
    const KernelHandle opened(OpenEventW(eventQueryState, FALSE, objectName.c_str()));
    return static_cast<bool>(opened);
}

SingleLock::SingleLock(Base* lockToHold) : lock(lockToHold)
{
    if (lock != nullptr)
    {
        lock->Lock();
    }
}

SingleLock::~SingleLock()
{
    if (lock != nullptr)
    {
        lock->Unlock();
    }
}

} // namespace VzCommon::Synchronize

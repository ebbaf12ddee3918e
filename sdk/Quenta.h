#pragma once

// An engine library of the session agent, Quenta.dll in the product's folder: what it exports and what its
// engines look like. The agent loads it with the first engine command of the service.
//
//     class Checker : public ISpecialEngine { ... };
//
//     extern "C" __declspec(dllexport)
//     IEngine* CreateSpecialEngine(std::wstring itemId, std::wstring sessionId)
//     {
//         return itemId == L"Checker" ? new Checker(sessionId) : nullptr;
//     }
//
// Library and agent are built by one compiler with one C++ library, one C runtime and one version of JsonDb:
// wide strings and JSON values cross by value, and what one side allocates the other one frees. Both keep
// run-time type information, by which the agent tells an ISpecialEngine from any other IEngine.
//
// Threads: every call comes on a thread of the service link, not always the same one; the end of an engine
// may also come on the main thread, at the end of the process. The service sends one command at a time, and
// waits for its reply; an engine that wants to be stopped while it works has to be ready for Signal on
// another thread.
//
// Exceptions: a C++ exception of any type ends the operation that threw it. The agent logs it and answers
// the service with 0xE0FF0001; the engine stays as it is.

#include "QxCommon_JsonDb.h"
#include "VzComn_AgentStatus.h"

#include <cstdint>
#include <string>

// What the factory makes.
class IEngine
{
public:
    IEngine() = default;

    // Called through delete when the agent's last reference ends, at the latest at the end of the process
    // (unless an operation is under way to the last) and always before the library is freed. An engine has
    // ended its threads when it returns. An exception is contained here as well: a derived destructor that
    // throws says noexcept(false) or nothing.
    virtual ~IEngine() noexcept(false) = default;

    IEngine(const IEngine&) = delete;
    IEngine& operator=(const IEngine&) = delete;
};

// What the service can drive. The order of the operations is the contract: none comes, goes or moves.
//
// A status below 0 is a failure; VzComn_AgentStatus.h has the common ones. A JSON result is copied during the
// call and becomes the "data" of the reply; null makes the command fail with 0xE0FF0001. A JSON argument is
// the engine's own copy: a handle on it may be kept.
class ISpecialEngine : public IEngine
{
public:
    // Action 0x2001. The status of the command.
    virtual AgentStatus Perform() = 0;

    // Action 0x4001, with the command's "fixSessionId" and "param", null if it has none. The status of the
    // command. What is written into param is lost.
    virtual AgentStatus PerformFix(std::wstring fixSessionId, QxCommon::JsonDb& param) = 0;

    // Action 0x2003.
    virtual QxCommon::JsonDb Query() = 0;

    // Action 0x2004. The key is always empty.
    virtual QxCommon::JsonDb QueryByKey(std::wstring key) = 0;

    // Action 0x2005, with the command's "details", null if it has none. The key is always empty. Success
    // unless it throws.
    virtual void PutDetails(std::wstring key, QxCommon::JsonDb details) = 0;

    // Action 0x4003, with the command's "fixSessionId".
    virtual QxCommon::JsonDb QueryFix(std::wstring fixSessionId) = 0;

    // Action 0x4004, with the command's "fixSessionId".
    virtual QxCommon::JsonDb QueryFixDetail(std::wstring fixSessionId) = 0;

    // Holds its place; the agent does not call it.
    virtual void Reserved1() {}

    // Action 0x1001, the first call on a new engine. A negative result refuses to work: the engine is never
    // called again and never deleted. So is one that throws.
    virtual std::int32_t Initialize() = 0;

    // Holds its place; the agent does not call it.
    virtual void Reserved2() {}

    // Action 0x2002. Success unless it throws.
    virtual void Signal() = 0;
};

// The export. Makes an engine for an item in a session, the command's "itemId" and "sessionId" (both may be
// empty), and leaves it to the agent; null if there is no such item. An object that is no ISpecialEngine is
// refused like null, and never deleted.
using CreateSpecialEngineFunction = IEngine*(std::wstring itemId, std::wstring sessionId);
inline constexpr wchar_t CreateSpecialEngineName[] = L"CreateSpecialEngine";

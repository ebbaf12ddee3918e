#pragma once

#include "VzComn_Handle.h"

#include <windows.h>

#include <cstdint>
#include <string>

namespace VzCommon::Service
{

// How much a connection to the service control manager may do.
namespace ConnectMode
{
inline constexpr std::uint32_t Read = 0;
inline constexpr std::uint32_t Execute = 1;
inline constexpr std::uint32_t All = 2;
} // namespace ConnectMode

// One service of the local machine. Belongs to one thread. Every operation sets error, which may be null, to
// 0 on success; an operation that comes too early fails with 6, one that is done already with 5010, and
// everything else with the system's error.
class Base
{
public:
    Base() = default;
    virtual ~Base();

    Base(const Base&) = delete;
    Base& operator=(const Base&) = delete;

    // Fails with 160 for a mode that is not of ConnectMode.
    bool Connect(std::uint32_t mode, std::uint32_t* error);

    // Fails with 160 for an empty or null name.
    bool Open(const wchar_t* name, std::uint32_t access, std::uint32_t* error);
    bool Open(const std::wstring& name, std::uint32_t access, std::uint32_t* error);

    bool Start(std::uint32_t argumentCount, const wchar_t** arguments, std::uint32_t* error);
    bool Stop(std::uint32_t* error);
    bool QueryStatus(SERVICE_STATUS& status, std::uint32_t* error);

    // Queries up to retries times, with a sleep of intervalMs behind each query that did not find the wanted
    // state. Fails with 1460 when the rounds run out. The last status goes to status, which may be null, on
    // success only.
    bool WaitStatus(std::uint32_t wantedState, std::uint32_t retries, std::uint32_t intervalMs,
                    SERVICE_STATUS* status, std::uint32_t* error);

private:
    ServiceHandle scm;
    ServiceHandle service;
};

} // namespace VzCommon::Service

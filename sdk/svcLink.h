#pragma once

// The client side of the host service's local link, svcLink.dll: the records that cross to the library and
// the class that it exports. A caller loads the library at the first use and never links its data.
//
//     auto* manager = new CRpcClientManager(nullptr, 1000);
//     CRpcCommand command{};
//     command.uCommandId = 0x2051;
//     manager->CreateUUID(command.szTrackingId, sizeof command.szTrackingId);
//     CRpcCommandResult result{};
//     if (manager->ExecuteCommand(command, nullptr, result) >= 0)
//     {
//         ... read result.data ...
//         manager->DestroyDataHandle(&result.data);
//     }
//
// Library and program share one C++ runtime and heap: an object made on one side is deleted on the other.

#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <cstdint>

class CRpcMsgBuffer;

// 36 characters and a terminator.
inline constexpr std::size_t RpcUuidSize = 37;

// Refers to one tagged message. Whoever holds the record owns the holder and with it one reference.
struct CRpcDataHandle
{
    std::uint32_t uReserved;                    // 0
    std::uint32_t uMessageId;                   // 0x10014; the index of an extracted answer
    boost::shared_ptr<CRpcMsgBuffer>* pMessage; // on the heap; null if the handle is empty
};

// Opaque to a program, which only copies it. The texts have 36 characters when the context holds anything.
struct CRpcContext
{
    char szId[RpcUuidSize];
    char reserved[3];
    char szSecondId[RpcUuidSize];
    char opaque[839];
};

// One command to the service. Zeroed before it is filled.
struct CRpcCommand
{
    CRpcContext context;
    std::uint32_t uCommandId;
    std::uint32_t uSecond; // 1, but 0 for a registration
    char szTrackingId[RpcUuidSize];
    char reserved[7];
    CRpcDataHandle data;
    std::uint64_t reservedEnd;
};

// The answer to a command, or what a callback gets and gives. Zeroed before the call.
struct CRpcCommandResult
{
    char opaque[48]; // the library's own
    std::int32_t iStatus;
    std::uint32_t uMessageId;
    CRpcDataHandle data;
    std::uint64_t reservedEnd;
};

static_assert(sizeof(CRpcDataHandle) == 16 && offsetof(CRpcDataHandle, uMessageId) == 4 &&
              offsetof(CRpcDataHandle, pMessage) == 8);
static_assert(sizeof(CRpcContext) == 916 && offsetof(CRpcContext, szSecondId) == 40);
static_assert(sizeof(CRpcCommand) == 992 && offsetof(CRpcCommand, uCommandId) == 916 &&
              offsetof(CRpcCommand, uSecond) == 920 && offsetof(CRpcCommand, szTrackingId) == 924 &&
              offsetof(CRpcCommand, reserved) == 961 && offsetof(CRpcCommand, data) == 968 &&
              offsetof(CRpcCommand, reservedEnd) == 984);
static_assert(sizeof(CRpcCommandResult) == 80 && offsetof(CRpcCommandResult, iStatus) == 48 &&
              offsetof(CRpcCommandResult, uMessageId) == 52 && offsetof(CRpcCommandResult, data) == 56 &&
              offsetof(CRpcCommandResult, reservedEnd) == 72);

// One client of the service. Any thread; several calls may be under way at once. No call may be under way
// when the object is deleted; a callback may.
class CRpcClientManager
{
public:
    // Runs on a thread of the library, several at once if the service calls so. in is the library's; what
    // out holds afterwards goes to the service with the returned status, and the library releases it.
    using Callback = std::int32_t (*)(const char* pszTrackingId, const CRpcCommandResult& in,
                                      CRpcCommandResult& out);

    // pReserved is null. uTimeout, in milliseconds, is how long a call waits for an endpoint that is busy.
    CRpcClientManager(void* pReserved, std::uint32_t uTimeout);
    virtual ~CRpcClientManager();

    CRpcClientManager(const CRpcClientManager&) = delete;
    CRpcClientManager& operator=(const CRpcClientManager&) = delete;

    // Sends the command and waits for the answer, which goes to result. A callback is remembered under the
    // command's tracking id. Negative on failure: 0xE0010803 if the service does not know this client.
    std::int32_t ExecuteCommand(const CRpcCommand& command, Callback pCallback, CRpcCommandResult& result);

    // Writes a new tracking id. Negative if the buffer holds fewer than RpcUuidSize bytes.
    std::int32_t CreateUUID(char* pszBuffer, std::uint32_t uSize);

    // Releases what the handle of a command or a result holds, and leaves the handle empty.
    std::int32_t DestroyDataHandle(CRpcDataHandle* pHandle);

    // Forgets a tracking id and its callback.
    std::int32_t DestroyTrackingID(const char* pszTrackingId);

    std::int32_t DestroyContext(const CRpcContext& context);

    // The manager's own tracking id; constant after construction.
    char m_szTrackingId[RpcUuidSize];

private:
    class Implementation;
    Implementation* m_pImplementation;
};

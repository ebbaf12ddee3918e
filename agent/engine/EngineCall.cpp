#include "EngineCall.h"

#include <exception>
#include <memory>

#include "VzComn_Exception.h"
#include "VzComn_LogFront.h"

namespace
{
void LogReason(const wchar_t* operation)
{
    try
    {
        throw;
    }
    catch (VzCommon::Exception::Base* caught)
    {
        const std::unique_ptr<VzCommon::Exception::Base> exception(caught); // null for a thrown nullptr
        LOG_ERROR << L"Special engine threw an exception, [operation=" << operation << L"][error="
                  << (exception ? exception->code : 0) << L"]";
    }
    catch (const std::exception& exception)
    {
        LOG_ERROR << L"Special engine threw an exception, [operation=" << operation << L"][what="
                  << exception.what() << L"]";
    }
    catch (...)
    {
        LOG_ERROR << L"Special engine threw an exception, [operation=" << operation << L"]";
    }
}
} // namespace

AgentStatus RefuseEngineException(const wchar_t* operation) noexcept
{
    try
    {
        LogReason(operation);
    }
    catch (...) // NOLINT(bugprone-empty-catch): no memory for the line, which is lost
    {
    }
    return Status::Failure;
}

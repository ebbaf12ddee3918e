#include "OuterClientGuard.h"

#include "OuterClientLog.h"

#include <exception>
#include <memory>
#include <new>

#include "VzComn_Exception.h"

AgentStatus RefuseCaught(const wchar_t* operation)
{
    try
    {
        throw;
    }
    catch (VzCommon::Exception::Base* caught)
    {
        const std::unique_ptr<VzCommon::Exception::Base> exception(caught);
        LOG_ERROR << operation << L" is refused, reason=error " << exception->code;
    }
    catch (const std::bad_alloc&)
    {
        LOG_ERROR << operation << L" is refused, reason=out of memory";
        return Status::OutOfMemory;
    }
    catch (const std::exception& exception)
    {
        LOG_ERROR << operation << L" is refused, reason=" << exception.what();
    }
    catch (...)
    {
        LOG_ERROR << operation << L" is refused, reason=unknown exception";
    }
    return Status::Failure;
}

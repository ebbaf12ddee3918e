#include "VzComn_VzDbg.h"

#include "VzComn_Error.h"

namespace VzCommon::Library
{

bool VzDbg::Bind(bool bind, std::uint32_t* error)
{
    if (!bind)
    {
        initialize = nullptr;
        uninitialize = nullptr;
        trace = nullptr;
        bound = false;
        return Succeed(error);
    }

    std::uint32_t missing[3]{};
    Resolve(L"VzDbgInitialize", initialize, &missing[0]);
    Resolve(L"VzDbgUninitialize", uninitialize, &missing[1]);
    Resolve(L"VzDbgTrace", trace, &missing[2]);
    bound = initialize != nullptr && uninitialize != nullptr && trace != nullptr;
    for (const std::uint32_t code : missing)
    {
        if (code != ERROR_SUCCESS)
        {
            return Report(error, code, bound);
        }
    }
    return Report(error, ERROR_SUCCESS, bound);
}

} // namespace VzCommon::Library

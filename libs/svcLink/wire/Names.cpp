#include "Names.h"

#include "QxCommon_names.h"

namespace SvcLink
{

std::wstring HostServiceName()
{
    return QxCommon::GetServiceName();
}

std::wstring EndpointName()
{
    return L"\\\\.\\pipe\\" + HostServiceName();
}

} // namespace SvcLink

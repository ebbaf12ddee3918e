#include "Names.h"

#include "FrwkMode.h"

namespace SvcLink
{

std::wstring HostServiceName()
{
    return QxCommon::GetProductId() + L" Host Service";
}

std::wstring EndpointName()
{
    return L"\\\\.\\pipe\\" + HostServiceName();
}

} // namespace SvcLink

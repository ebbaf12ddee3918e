// Access rights have no say in what a document is.
#pragma once

#include <windows.h>

namespace ATL
{
class CSecurityDesc
{
};

class CSecurityAttributes : public SECURITY_ATTRIBUTES
{
};
} // namespace ATL

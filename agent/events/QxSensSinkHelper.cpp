#include "QxSensSinkHelper.h"

bool CQxSensSinkHelper::Initialize(HWND /*window*/)
{
    return true;
}

bool CQxSensSinkHelper::Uninitialize()
{
    return true;
}

bool CQxSensSinkHelper::IsNetworkAlive(DWORD* /*flags*/)
{
    return true;
}

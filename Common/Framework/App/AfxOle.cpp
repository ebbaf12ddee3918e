#include "afxdisp.h"

#include <ole2.h>

#include <utility>

namespace
{
thread_local bool t_bOleReady = false;
}

BOOL AfxOleInit()
{
    if (!t_bOleReady)
    {
        t_bOleReady = SUCCEEDED(::OleInitialize(nullptr));
    }
    return t_bOleReady;
}

void AfxOleTerm(BOOL bJustRevoke)
{
    if (!bJustRevoke && std::exchange(t_bOleReady, false))
    {
        ::OleUninitialize();
    }
}

void AfxEnableControlContainer(COccManager*) {}

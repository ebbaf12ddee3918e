#include "QxSensSink.h"

#include <algorithm>
#include <iterator>

#include "AgentIds.h"
#include "CrashBarrier.h"

namespace
{
constexpr IID networkEvents{0xD597BAB1, 0x5B9F, 0x11D1, {0x8D, 0xD2, 0x00, 0xAA, 0x00, 0x4A, 0xBD, 0x5E}};
constexpr IID powerEvents{0xD597BAB2, 0x5B9F, 0x11D1, {0x8D, 0xD2, 0x00, 0xAA, 0x00, 0x4A, 0xBD, 0x5E}};
constexpr IID sessionEvents{0xD597BAB3, 0x5B9F, 0x11D1, {0x8D, 0xD2, 0x00, 0xAA, 0x00, 0x4A, 0xBD, 0x5E}};

bool IsOwnInterface(REFIID iid)
{
    const IID* const own[] = {&IID_IUnknown, &IID_IDispatch, &networkEvents, &powerEvents, &sessionEvents};
    return std::any_of(std::begin(own), std::end(own), [&iid](const IID* known) { return *known == iid; });
}
} // namespace

CQxSensSink::CQxSensSink(HWND window) : m_window(window) {}

HRESULT CQxSensSink::QueryInterface(REFIID iid, void** object)
{
    if (object == nullptr)
    {
        return E_POINTER;
    }
    if (!IsOwnInterface(iid))
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    AddRef();
    *object = this; // Deliberate: the same table for every interface.
    return S_OK;
}

ULONG CQxSensSink::AddRef()
{
    return static_cast<ULONG>(++m_references);
}

ULONG CQxSensSink::Release()
{
    return static_cast<ULONG>(--m_references);
}

HRESULT CQxSensSink::GetTypeInfoCount(UINT* /*count*/)
{
    return E_NOTIMPL;
}

HRESULT CQxSensSink::GetTypeInfo(UINT /*index*/, LCID /*locale*/, ITypeInfo** /*info*/)
{
    return E_NOTIMPL;
}

HRESULT CQxSensSink::GetIDsOfNames(REFIID /*iid*/, LPOLESTR* /*names*/, UINT /*count*/, LCID /*locale*/,
                                   DISPID* /*ids*/)
{
    return E_NOTIMPL;
}

HRESULT CQxSensSink::Invoke(DISPID /*member*/, REFIID /*iid*/, LCID /*locale*/, WORD /*flags*/,
                            DISPPARAMS* /*parameters*/, VARIANT* /*result*/, EXCEPINFO* /*exception*/,
                            UINT* /*argument*/)
{
    return E_NOTIMPL;
}

// COM answers its caller with an error if this crashes, and the agent would go on.
HRESULT CQxSensSink::Post(UINT message, ULONG type) const
{
    struct Call
    {
        const CQxSensSink* sink;
        UINT message;
        ULONG type;
    } call{this, message, type};

    CallBehindBarrier(
        [](void* argument)
        {
            const auto& [sink, number, kind] = *static_cast<Call*>(argument);
            if (sink->m_window != reinterpret_cast<HWND>(-1))
            {
                PostMessageW(sink->m_window, number, kind, 0);
            }
        },
        &call);
    return S_OK;
}

HRESULT CQxSensSink::ConnectionMade(BSTR /*connection*/, ULONG type, LPSENS_QOCINFO /*info*/)
{
    return Post(WindowMessage::NetworkMade, type);
}

HRESULT CQxSensSink::ConnectionMadeNoQOCInfo(BSTR /*connection*/, ULONG type)
{
    return Post(WindowMessage::NetworkMadeNoQoc, type);
}

HRESULT CQxSensSink::ConnectionLost(BSTR /*connection*/, ULONG type)
{
    return Post(WindowMessage::NetworkLost, type);
}

HRESULT CQxSensSink::DestinationReachable(BSTR /*destination*/, BSTR /*connection*/, ULONG /*type*/,
                                          LPSENS_QOCINFO /*info*/)
{
    return S_OK;
}

HRESULT CQxSensSink::DestinationReachableNoQOCInfo(BSTR /*destination*/, BSTR /*connection*/, ULONG /*type*/)
{
    return S_OK;
}

HRESULT CQxSensSink::Logon(BSTR /*user*/)
{
    return S_OK;
}

HRESULT CQxSensSink::Logoff(BSTR /*user*/)
{
    return S_OK;
}

HRESULT CQxSensSink::StartShell(BSTR /*user*/)
{
    return S_OK;
}

HRESULT CQxSensSink::DisplayLock(BSTR /*user*/)
{
    return S_OK;
}

HRESULT CQxSensSink::DisplayUnlock(BSTR /*user*/)
{
    return S_OK;
}

HRESULT CQxSensSink::StartScreenSaver(BSTR /*user*/)
{
    return S_OK;
}

HRESULT CQxSensSink::StopScreenSaver(BSTR /*user*/)
{
    return S_OK;
}

HRESULT CQxSensSink::OnACPower()
{
    return S_OK;
}

HRESULT CQxSensSink::OnBatteryPower(DWORD /*percent*/)
{
    return S_OK;
}

HRESULT CQxSensSink::BatteryLow(DWORD /*percent*/)
{
    return S_OK;
}

#pragma once

#include <windows.h>

#include <oaidl.h>
#include <sensevts.h>

#include <atomic>

// No interface of COM has a virtual destructor.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// Receives the events of the system's notification service and posts those of the network to the main frame.
// COM calls it on any thread; it reads its window handle and nothing else. Lives from the helper's start to
// its end, whatever the references to it.
//
// The order of the virtual operations is fixed: the interfaces for network, power and session are all
// answered with this one table.
class CQxSensSink final : public IDispatch
{
public:
    // The window that the messages go to.
    explicit CQxSensSink(HWND window);

    CQxSensSink(const CQxSensSink&) = delete;
    CQxSensSink& operator=(const CQxSensSink&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    // Deliberate: never frees the object.
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID iid, LCID locale, WORD flags,
                                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                     UINT* argument) override;

    virtual ~CQxSensSink() = default;

    virtual HRESULT STDMETHODCALLTYPE ConnectionMade(BSTR connection, ULONG type, LPSENS_QOCINFO info);
    virtual HRESULT STDMETHODCALLTYPE ConnectionMadeNoQOCInfo(BSTR connection, ULONG type);
    virtual HRESULT STDMETHODCALLTYPE ConnectionLost(BSTR connection, ULONG type);
    virtual HRESULT STDMETHODCALLTYPE DestinationReachable(BSTR destination, BSTR connection, ULONG type,
                                                           LPSENS_QOCINFO info);
    virtual HRESULT STDMETHODCALLTYPE DestinationReachableNoQOCInfo(BSTR destination, BSTR connection,
                                                                    ULONG type);

    virtual HRESULT STDMETHODCALLTYPE Logon(BSTR user);
    virtual HRESULT STDMETHODCALLTYPE Logoff(BSTR user);
    virtual HRESULT STDMETHODCALLTYPE StartShell(BSTR user);
    virtual HRESULT STDMETHODCALLTYPE DisplayLock(BSTR user);
    virtual HRESULT STDMETHODCALLTYPE DisplayUnlock(BSTR user);
    virtual HRESULT STDMETHODCALLTYPE StartScreenSaver(BSTR user);
    virtual HRESULT STDMETHODCALLTYPE StopScreenSaver(BSTR user);

    virtual HRESULT STDMETHODCALLTYPE OnACPower();
    virtual HRESULT STDMETHODCALLTYPE OnBatteryPower(DWORD percent);
    virtual HRESULT STDMETHODCALLTYPE BatteryLow(DWORD percent);

private:
    HRESULT Post(UINT message, ULONG type) const;

    std::atomic<LONG> m_references = 1;
    HWND m_window; // Weak. -1 for none.
};

#pragma GCC diagnostic pop

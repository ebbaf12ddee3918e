#include "Places.h"

#include <windows.h>

#include <objbase.h>

#include <new>
#include <thread>

#include "QxSensSink.h"

namespace
{
// The memory of a sink that has been freed.
CQxSensSink* FormerSink()
{
    constexpr std::size_t pageSize = 4096;
    void* const page = VirtualAlloc(nullptr, pageSize, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    auto* const sink = ::new (page) CQxSensSink(nullptr);
    DWORD before = 0;
    VirtualProtect(page, pageSize, PAGE_NOACCESS, &before);
    return sink;
}

// Stands between COM and the sink, whose interfaces cannot be marshalled without the system's service.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

class Subscriber final : public IPersist
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
    {
        const bool isOwn = iid == IID_IUnknown || iid == IID_IPersist;
        *object = isOwn ? this : nullptr;
        return isOwn ? S_OK : E_NOINTERFACE;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }

    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    // Past the table of the sink, which is no more.
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* /*id*/) override
    {
        return FormerSink()->CQxSensSink::ConnectionMade(nullptr, 0, nullptr);
    }
};

#pragma GCC diagnostic pop

// A call that comes back has been survived.
DWORD WINAPI Call(void* stream)
{
    constexpr UINT survived = 77;
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    void* proxy = nullptr;
    CLSID id{};
    if (CoGetInterfaceAndReleaseStream(static_cast<IStream*>(stream), IID_IPersist, &proxy) == S_OK)
    {
        static_cast<IPersist*>(proxy)->GetClassID(&id);
    }
    ExitProcess(survived);
}

// Has an object of this apartment called from another one.
void HaveCalled(COINIT apartment, DWORD(WINAPI* caller)(void*))
{
    static Subscriber subscriber;
    CoInitializeEx(nullptr, apartment);
    IStream* stream = nullptr;
    CoMarshalInterThreadInterfaceInStream(IID_IPersist, &subscriber, &stream);
    CreateThread(nullptr, 0, caller, stream, 0, nullptr);
    MSG message{};
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
    {
        DispatchMessageW(&message);
    }
}

// From an apartment of its own, to which the object is a foreign one.
DWORD WINAPI CallFromWindow(void* stream)
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    return Call(stream);
}
} // namespace

void InComThread()
{
    HaveCalled(COINIT_MULTITHREADED, &CallFromWindow);
}

void InComWindow()
{
    HaveCalled(COINIT_APARTMENTTHREADED, &Call);
}

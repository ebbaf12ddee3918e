// The exports: the factory, and what the tests ask.
#include "Failure.h"
#include "ProbeEngine.h"
#include "Record.h"

namespace
{

// Not what the service can drive.
class OtherEngine : public IEngine
{
public:
    ~OtherEngine() override { Record::Add(L"end of another"); }
};

} // namespace

// Item ids: "nothing" gives null, "other" an object of another class, "throws CreateSpecialEngine" throws
// what the session id names, and for all others see ProbeEngine.h.
extern "C" __declspec(dllexport) IEngine* CreateSpecialEngine(std::wstring itemId, std::wstring sessionId)
{
    Record::Add(L"CreateSpecialEngine(" + itemId + L"," + sessionId + L")");
    if (itemId == L"throws CreateSpecialEngine")
    {
        ThrowKind(sessionId);
    }
    if (itemId == L"nothing")
    {
        return nullptr;
    }
    if (itemId == L"other")
    {
        return new OtherEngine;
    }
    return new ProbeEngine(itemId, sessionId);
}

extern "C" __declspec(dllexport) long LivingEngines()
{
    return ProbeEngine::Living();
}

extern "C" __declspec(dllexport) const wchar_t* EngineEvents()
{
    return Record::Events();
}

extern "C" __declspec(dllexport) void ReleaseSlowEngines()
{
    ProbeEngine::ReleaseAll();
}

extern "C" BOOL WINAPI DllMain(HINSTANCE /*instance*/, DWORD reason, void* reserved)
{
    if (reason == DLL_PROCESS_DETACH)
    {
        Record::Add(reserved == nullptr ? L"library freed" : L"library goes with the process");
    }
    return TRUE;
}

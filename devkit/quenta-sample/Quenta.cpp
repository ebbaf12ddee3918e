// The export of the sample library: which item is which engine.
#include "FaultEngine.h"
#include "InspectionEngine.h"
#include "NotesEngine.h"
#include "WorkEngine.h"

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value is what the agent calls
extern "C" __declspec(dllexport) IEngine* CreateSpecialEngine(std::wstring itemId, std::wstring /*sessionId*/)
{
    if (itemId == L"notes")
    {
        return new NotesEngine;
    }
    if (itemId == L"work")
    {
        return new WorkEngine;
    }
    if (itemId == L"inspection")
    {
        return new InspectionEngine;
    }
    if (itemId == L"fault")
    {
        return new FaultEngine;
    }
    return nullptr;
}

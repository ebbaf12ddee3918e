#include "WerExports.h"

namespace
{
template <typename Function>
bool Find(HMODULE library, const char* name, Function*& address)
{
    address = reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    return address != nullptr;
}

HRESULT WINAPI RefuseSubmit(HREPORT /*report*/, WER_CONSENT /*consent*/, DWORD /*flags*/,
                            WER_SUBMIT_RESULT* /*result*/)
{
    return E_NOTIMPL;
}
} // namespace

bool FindExports(HMODULE library, WerExports& exports)
{
    bool found = Find(library, "WerReportCreate", exports.create);
    found = Find(library, "WerReportAddDump", exports.addDump) && found;
    found = Find(library, "WerReportSetParameter", exports.setParameter) && found;
    // Deliberate: these two must be there, though nothing calls them.
    found = Find(library, "WerReportAddFile", exports.addFile) && found;
    found = Find(library, "WerReportSetUIOption", exports.setUiOption) && found;
    // Deliberate: the report is made without this one as well. Its call then fails like any other, since a
    // jump to nowhere would keep the crashed process from telling the watchdog.
    if (!Find(library, "WerReportSubmit", exports.submit))
    {
        exports.submit = &RefuseSubmit;
    }
    return Find(library, "WerReportCloseHandle", exports.closeHandle) && found;
}

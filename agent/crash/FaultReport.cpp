#include "FaultReport.h"

#include "FaultrepReport.h"
#include "ReportMode.h"
#include "VzComn_LogFront.h"
#include "WerReport.h"

namespace
{
bool Report(EXCEPTION_POINTERS* pExceptionPointers, const std::wstring& applicationName)
{
    switch (GetReportMode())
    {
    case ReportMode::Wer: return ReportByWer(pExceptionPointers, applicationName);
    case ReportMode::Faultrep: return ReportByFaultrep(pExceptionPointers);
    case ReportMode::None: break;
    }
    return false;
}
} // namespace

void ReportToSystem(EXCEPTION_POINTERS* pExceptionPointers, const std::wstring& applicationName)
{
    if (Report(pExceptionPointers, applicationName))
    {
        LOG_INFO << L"Succeed to send crashed dump to Microsoft.";
    }
    else
    {
        LOG_ERROR << L"Failed to send crashed dump to Microsoft.";
    }
}

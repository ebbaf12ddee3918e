#pragma once

#include <afxwin.h>

#include "StartHelper.h"

// The application object. The one instance is static, so what it holds lives as long as the process.
class CQxSessionAgentApp : public CWinApp
{
public:
    CQxSessionAgentApp();

    BOOL InitInstance() override;
    int ExitInstance() override;

protected:
    DECLARE_MESSAGE_MAP()

private:
    [[nodiscard]] bool InitFramework();
    [[nodiscard]] bool CreateMainFrame();

    CStartHelper m_startHelper;
};

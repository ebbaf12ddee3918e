#include "DllModule.h"

namespace Frwk::OperationSystem
{
bool CDllModule::Load(const wchar_t* fileName)
{
    m_module.Reset();
    m_module.Reset(LoadLibraryW(fileName));
    m_bLoaded = static_cast<bool>(m_module);
    if (!m_bLoaded)
    {
        m_dwLastError = GetLastError();
    }
    return m_bLoaded;
}
} // namespace Frwk::OperationSystem

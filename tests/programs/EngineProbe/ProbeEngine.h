#pragma once

#include "Quenta.h"

#include <windows.h>

#include <string>

// Does what its item id tells, and records each call.
//
//     plain                answers
//     silent               answers null
//     nowhere              answers with handles that stand on no node
//     keeper               answers with what it was given last, by a handle of its own
//     slow                 performs until it is signalled
//     late                 takes as long to come up
//     refused              does not come up
//     throws <operation>   throws there what the session id names (Failure.h)
class ProbeEngine : public ISpecialEngine
{
public:
    ProbeEngine(std::wstring itemId, std::wstring sessionId);
    ~ProbeEngine() noexcept(false) override;

    AgentStatus Perform() override;
    AgentStatus PerformFix(std::wstring fixSessionId, QxCommon::JsonDb& param) override;
    QxCommon::JsonDb Query() override;
    QxCommon::JsonDb QueryByKey(std::wstring key) override;
    void PutDetails(std::wstring key, QxCommon::JsonDb details) override;
    QxCommon::JsonDb QueryFix(std::wstring fixSessionId) override;
    QxCommon::JsonDb QueryFixDetail(std::wstring fixSessionId) override;
    void Reserved1() override;
    std::int32_t Initialize() override;
    void Reserved2() override;
    void Signal() override;

    // Of this class, alive.
    [[nodiscard]] static long Living();

    // Lets the slow ones go on, once and for all.
    static void ReleaseAll();

private:
    void Note(const std::wstring& operation, const std::wstring& arguments = {}) const;
    [[nodiscard]] QxCommon::JsonDb Answer(const wchar_t* operation);
    void AwaitSignal() const;

    std::wstring m_itemId;
    std::wstring m_sessionId;
    HANDLE m_signalled;
    QxCommon::JsonDb* m_kept = nullptr;
};

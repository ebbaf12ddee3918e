#include "QxSensSinkHelper.h"

#include <eventsys.h>

#include <cwchar>
#include <iterator>
#include <new>
#include <span>

#include "ComHandle.h"
#include "QxSensSink.h"
#include "VzComn_Library.h"
#include "VzComn_LogFront.h"

namespace
{
constexpr CLSID eventSystemClass{
    0x4E14FBA2, 0x2E22, 0x11D1, {0x99, 0x64, 0x00, 0xC0, 0x4F, 0xBB, 0xB3, 0x45}};
constexpr IID eventSystemInterface{
    0x4E14FB9F, 0x2E22, 0x11D1, {0x99, 0x64, 0x00, 0xC0, 0x4F, 0xBB, 0xB3, 0x45}};
constexpr CLSID subscriptionClass{
    0x7542E960, 0x79C7, 0x11D1, {0x88, 0xF9, 0x00, 0x80, 0xC7, 0xD7, 0x71, 0xBF}};
constexpr IID subscriptionInterface{
    0x4A6B0E15, 0x2E38, 0x11D1, {0x99, 0x65, 0x00, 0xC0, 0x4F, 0xBB, 0xB3, 0x45}};
constexpr wchar_t subscriptionProgram[] = L"EventSystem.EventSubscription";

// Runs an operation that takes a string of COM.
template <typename Operation>
HRESULT WithText(const wchar_t* text, Operation operation)
{
    const ComString copy(SysAllocString(text));
    return copy ? operation(copy.Get()) : E_OUTOFMEMORY;
}

// True for a success; logs a failure.
bool Check(HRESULT code, const wchar_t* operation, const wchar_t* argument)
{
    if (FAILED(code))
    {
        LOG_ERROR << operation << L"(" << argument << L") failed!!! ErrorCode: " << code;
        return false;
    }
    return true;
}

bool PutText(IEventSubscription& subscription, HRESULT (WINAPI IEventSubscription::*put)(BSTR),
             const wchar_t* operation, const wchar_t* text)
{
    return Check(WithText(text, [&](BSTR copy) { return (subscription.*put)(copy); }), operation, text);
}

bool Describe(IEventSubscription& subscription, const wchar_t* eventClass, IDispatch* sink,
              const SensSubscription& row)
{
    return PutText(subscription, &IEventSubscription::put_EventClassID, L"put_EventClassID", eventClass) &&
           Check(subscription.put_SubscriberInterface(sink), L"put_SubscriberInterface", L"") &&
           PutText(subscription, &IEventSubscription::put_MethodName, L"put_MethodName", row.method) &&
           PutText(subscription, &IEventSubscription::put_SubscriptionName, L"put_SubscriptionName",
                   row.name) &&
           PutText(subscription, &IEventSubscription::put_SubscriptionID, L"put_SubscriptionID", row.id) &&
           Check(subscription.put_PerUser(TRUE), L"put_PerUser", L"TRUE");
}

void LogSet(const SensSet& set)
{
    LOG_INFO << L"SENS type: " << set.eventClass;
}

// Deliberate: the same words for a set that could not be removed.
void LogFailedSet(const SensSet& set)
{
    LOG_ERROR << L"SubscriptEvent(" << set.eventClass << L") failed!!!";
}
} // namespace

bool CQxSensSinkHelper::Initialize(HWND window)
{
    const HRESULT code = CoInitialize(nullptr);
    if (FAILED(code))
    {
        LOG_ERROR << L"CoInitialize() failed!!! ErrorCode: " << code;
        return false;
    }
    // Deliberate: the agent asks for the state of the network once, and subscribes nothing.
    QxSensType = 0;
    if (m_pSink == nullptr)
    {
        m_pSink = new (std::nothrow) CQxSensSink(window);
    }
    ReleaseEventSystem();
    const HRESULT created = CoCreateInstance(eventSystemClass, nullptr, CLSCTX_SERVER, eventSystemInterface,
                                             reinterpret_cast<void**>(&m_pEventSystem));
    return FAILED(created) || SubscriptSets(); // Deliberate: a system without events is no failure.
}

bool CQxSensSinkHelper::SubscriptSets()
{
    for (const SensSet& set : SensSets())
    {
        if ((QxSensType & set.maskBit) == 0)
        {
            continue;
        }
        LogSet(set);
        if (!SubscriptEvent(set.eventClass, set.rows.size(), set.rows.data()))
        {
            LogFailedSet(set);
            return false;
        }
    }
    return true;
}

bool CQxSensSinkHelper::SubscriptEvent(const wchar_t* eventClass, std::size_t count,
                                       const SensSubscription* rows)
{
    bool result = true;
    for (const SensSubscription& row : std::span(rows, count))
    {
        ComReference<IEventSubscription> subscription;
        const HRESULT code =
            CoCreateInstance(subscriptionClass, nullptr, CLSCTX_SERVER, subscriptionInterface,
                             reinterpret_cast<void**>(subscription.Put()));
        if (FAILED(code) || !subscription)
        {
            LOG_ERROR << L"CoCreateInstance() faild!!! ErrorCode: " << code;
            result = false;
            continue;
        }
        if (!Describe(*subscription.Get(), eventClass, m_pSink, row) || !Store(subscription.Get()))
        {
            return false;
        }
    }
    return result;
}

bool CQxSensSinkHelper::Store(IUnknown* subscription)
{
    const HRESULT code = m_pEventSystem == nullptr
                             ? E_POINTER
                             : WithText(subscriptionProgram, [subscription](BSTR program)
                                        { return m_pEventSystem->Store(program, subscription); });
    return Check(code, L"Store", subscriptionProgram);
}

bool CQxSensSinkHelper::Uninitialize()
{
    if (m_pEventSystem != nullptr)
    {
        UnsubscriptSets();
        ReleaseEventSystem();
    }
    delete m_pSink;
    m_pSink = nullptr;
    CoUninitialize(); // Deliberate: also after a CoInitialize that failed.
    return true;
}

void CQxSensSinkHelper::UnsubscriptSets()
{
    for (const SensSet& set : SensSets())
    {
        if ((QxSensType & set.maskBit) == 0)
        {
            continue;
        }
        LogSet(set);
        if (!UnsubscriptEvent(set.rows.size(), set.rows.data()))
        {
            LogFailedSet(set);
        }
    }
}

void CQxSensSinkHelper::ReleaseEventSystem()
{
    const ComReference<IEventSystem> last(m_pEventSystem);
    m_pEventSystem = nullptr;
}

bool CQxSensSinkHelper::UnsubscriptEvent(std::size_t count, const SensSubscription* rows)
{
    if (m_pEventSystem == nullptr)
    {
        return true;
    }
    for (const SensSubscription& row : std::span(rows, count))
    {
        wchar_t query[260];
        _snwprintf_s(query, std::size(query), _TRUNCATE, L"SubscriptionID=%s", row.id);
        int errorIndex = 0;
        const ComString program(SysAllocString(subscriptionProgram));
        const ComString criteria(SysAllocString(query));
        const HRESULT code = program && criteria
                                 ? m_pEventSystem->Remove(program.Get(), criteria.Get(), &errorIndex)
                                 : E_OUTOFMEMORY;
        if (FAILED(code))
        {
            LOG_ERROR << L"Remove(" << query << L") failed!!! ErrCode: " << code << L" ErrIndex: "
                      << errorIndex;
        }
    }
    return true;
}

bool CQxSensSinkHelper::IsNetworkAlive(DWORD* flags)
{
    VzCommon::Library::Base library;
    std::uint32_t error = 0;
    if (!library.Load(L"sensapi.dll", nullptr, &error))
    {
        LOG_ERROR << L"LoadLibrary (sensapi.dll) failed!!! ErrorCode: " << error;
        return false;
    }
    BOOL(WINAPI * ask)(DWORD*) = nullptr;
    return library.Resolve(L"IsNetworkAlive", ask, nullptr) && flags != nullptr && ask(flags) != FALSE;
}

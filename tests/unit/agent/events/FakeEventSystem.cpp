#include "FakeEventSystem.h"

#include <eventsys.h>

#include <utility>

// No interface of COM has a virtual destructor.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

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

// The failure that the test wants of the operation, otherwise success.
HRESULT Answer(const std::string& operation)
{
    EventSystemRecord& record = TheEvents();
    record.calls.push_back(operation);
    return operation == record.failing ? record.failure : S_OK;
}

// What COM needs of an object without a dispatcher; counts the living ones.
template <typename Interface, const IID& iid>
class Counted : public Interface
{
public:
    Counted() { ++TheEvents().living; }

    virtual ~Counted() { --TheEvents().living; }

    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    HRESULT WINAPI QueryInterface(REFIID wanted, void** object) override
    {
        if (wanted != iid && wanted != IID_IUnknown)
        {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        *object = this;
        return S_OK;
    }

    ULONG WINAPI AddRef() override { return ++m_references; }

    ULONG WINAPI Release() override
    {
        const ULONG left = --m_references;
        if (left == 0)
        {
            delete this;
        }
        return left;
    }

    HRESULT WINAPI GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }

    HRESULT WINAPI GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }

    HRESULT WINAPI GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }

    HRESULT WINAPI Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        return E_NOTIMPL;
    }

private:
    ULONG m_references = 1;
};

class FakeSubscription : public Counted<IEventSubscription, subscriptionInterface>
{
public:
    [[nodiscard]] const SubscriptionRecord& Record() const { return m_record; }

    HRESULT WINAPI put_SubscriptionID(BSTR text) override
    {
        return Put(m_record.id, "put_SubscriptionID", text);
    }

    HRESULT WINAPI put_SubscriptionName(BSTR text) override
    {
        return Put(m_record.name, "put_SubscriptionName", text);
    }

    HRESULT WINAPI put_EventClassID(BSTR text) override
    {
        return Put(m_record.eventClass, "put_EventClassID", text);
    }

    HRESULT WINAPI put_MethodName(BSTR text) override { return Put(m_record.method, "put_MethodName", text); }

    HRESULT WINAPI put_SubscriberInterface(IUnknown* sink) override
    {
        m_record.sink = sink;
        return Answer("put_SubscriberInterface");
    }

    HRESULT WINAPI put_PerUser(BOOL perUser) override
    {
        m_record.perUser = perUser;
        return Answer("put_PerUser");
    }

    HRESULT WINAPI get_SubscriptionID(BSTR*) override { return E_NOTIMPL; }

    HRESULT WINAPI get_SubscriptionName(BSTR*) override { return E_NOTIMPL; }

    HRESULT WINAPI get_PublisherID(BSTR*) override { return E_NOTIMPL; }

    HRESULT WINAPI put_PublisherID(BSTR) override { return E_NOTIMPL; }

    HRESULT WINAPI get_EventClassID(BSTR*) override { return E_NOTIMPL; }

    HRESULT WINAPI get_MethodName(BSTR*) override { return E_NOTIMPL; }

    HRESULT WINAPI get_SubscriberCLSID(BSTR*) override { return E_NOTIMPL; }

    HRESULT WINAPI put_SubscriberCLSID(BSTR) override { return E_NOTIMPL; }

    HRESULT WINAPI get_SubscriberInterface(IUnknown**) override { return E_NOTIMPL; }

    HRESULT WINAPI get_PerUser(BOOL*) override { return E_NOTIMPL; }

    HRESULT WINAPI get_OwnerSID(BSTR*) override { return E_NOTIMPL; }

    HRESULT WINAPI put_OwnerSID(BSTR) override { return E_NOTIMPL; }

    HRESULT WINAPI get_Enabled(BOOL*) override { return E_NOTIMPL; }

    HRESULT WINAPI put_Enabled(BOOL) override { return E_NOTIMPL; }

    HRESULT WINAPI get_Description(BSTR*) override { return E_NOTIMPL; }

    HRESULT WINAPI put_Description(BSTR) override { return E_NOTIMPL; }

    HRESULT WINAPI get_MachineName(BSTR*) override { return E_NOTIMPL; }

    HRESULT WINAPI put_MachineName(BSTR) override { return E_NOTIMPL; }

    HRESULT WINAPI GetPublisherProperty(BSTR, VARIANT*) override { return E_NOTIMPL; }

    HRESULT WINAPI PutPublisherProperty(BSTR, VARIANT*) override { return E_NOTIMPL; }

    HRESULT WINAPI RemovePublisherProperty(BSTR) override { return E_NOTIMPL; }

    HRESULT WINAPI GetPublisherPropertyCollection(IEventObjectCollection**) override { return E_NOTIMPL; }

    HRESULT WINAPI GetSubscriberProperty(BSTR, VARIANT*) override { return E_NOTIMPL; }

    HRESULT WINAPI PutSubscriberProperty(BSTR, VARIANT*) override { return E_NOTIMPL; }

    HRESULT WINAPI RemoveSubscriberProperty(BSTR) override { return E_NOTIMPL; }

    HRESULT WINAPI GetSubscriberPropertyCollection(IEventObjectCollection**) override { return E_NOTIMPL; }

    HRESULT WINAPI get_InterfaceID(BSTR*) override { return E_NOTIMPL; }

    HRESULT WINAPI put_InterfaceID(BSTR) override { return E_NOTIMPL; }

private:
    static HRESULT Put(std::wstring& member, const char* operation, BSTR text)
    {
        member.assign(text, SysStringLen(text));
        return Answer(operation);
    }

    SubscriptionRecord m_record;
};

class FakeEventSystem : public Counted<IEventSystem, eventSystemInterface>
{
public:
    HRESULT WINAPI Store(BSTR program, IUnknown* subscription) override
    {
        const HRESULT code = Answer("Store");
        if (SUCCEEDED(code))
        {
            EXPECT_STREQ(program, L"EventSystem.EventSubscription");
            TheEvents().stored.push_back(static_cast<FakeSubscription*>(subscription)->Record());
        }
        return code;
    }

    HRESULT WINAPI Remove(BSTR program, BSTR criteria, int* errorIndex) override
    {
        EXPECT_STREQ(program, L"EventSystem.EventSubscription");
        TheEvents().removed.emplace_back(criteria, SysStringLen(criteria));
        *errorIndex = 7;
        return Answer("Remove");
    }

    HRESULT WINAPI Query(BSTR, BSTR, int*, IUnknown**) override { return E_NOTIMPL; }

    HRESULT WINAPI get_EventObjectChangeEventClassID(BSTR*) override { return E_NOTIMPL; }

    HRESULT WINAPI QueryS(BSTR, BSTR, IUnknown**) override { return E_NOTIMPL; }

    HRESULT WINAPI RemoveS(BSTR, BSTR) override { return E_NOTIMPL; }
};

// Lives as long as the program.
template <typename Object>
class Factory : public IClassFactory
{
public:
    explicit Factory(const char* operation) : m_operation(operation) {}

    virtual ~Factory() = default;

    HRESULT WINAPI QueryInterface(REFIID iid, void** object) override
    {
        if (iid != IID_IClassFactory && iid != IID_IUnknown)
        {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = this;
        return S_OK;
    }

    ULONG WINAPI AddRef() override { return 2; }

    ULONG WINAPI Release() override { return 1; }

    HRESULT WINAPI CreateInstance(IUnknown*, REFIID iid, void** object) override
    {
        *object = nullptr;
        EventSystemRecord& record = TheEvents();
        if (m_operation == record.failing && std::exchange(record.successes, record.successes - 1) == 0)
        {
            record.calls.push_back(m_operation + " fails");
            return record.failure;
        }
        auto* const made = new Object;
        const HRESULT code = made->QueryInterface(iid, object);
        made->Release();
        record.calls.push_back(m_operation);
        return code;
    }

    HRESULT WINAPI LockServer(BOOL) override { return S_OK; }

private:
    std::string m_operation;
};
} // namespace

EventSystemRecord& TheEvents()
{
    static EventSystemRecord record;
    return record;
}

EventSystem::EventSystem()
{
    static Factory<FakeEventSystem> system("event system");
    static Factory<FakeSubscription> subscription("subscription");
    CoInitialize(nullptr);
    EXPECT_EQ(
        CoRegisterClassObject(eventSystemClass, &system, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_system),
        S_OK);
    EXPECT_EQ(CoRegisterClassObject(subscriptionClass, &subscription, CLSCTX_INPROC_SERVER,
                                    REGCLS_MULTIPLEUSE, &m_subscription),
              S_OK);
    TheEvents() = {};
}

EventSystem::~EventSystem()
{
    EXPECT_EQ(TheEvents().living, 0);
    CoRevokeClassObject(m_system);
    CoRevokeClassObject(m_subscription);
    CoUninitialize();
}

#include "QxSensSink.h"

#include <gmock/gmock.h>

#include <cstring>
#include <memory>
#include <thread>

#include "FakeEventSystem.h"
#include "ImportPatch.h"
#include "ScarceMemory.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
struct Posted
{
    HWND window;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;

    bool operator==(const Posted&) const = default;
};

std::vector<Posted> g_posted;

BOOL WINAPI NotePost(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    g_posted.push_back({window, message, wParam, lParam});
    return TRUE;
}

const HWND noWindow = reinterpret_cast<HWND>(-1);

IID SensInterface(unsigned long first)
{
    return {first, 0x5B9F, 0x11D1, {0x8D, 0xD2, 0x00, 0xAA, 0x00, 0x4A, 0xBD, 0x5E}};
}

// Calls an operation by its place in the object's table, as COM does.
template <typename... Arguments>
HRESULT CallSlot(void* object, std::size_t slot, Arguments... arguments)
{
    void** const table = *static_cast<void***>(object);
    using Operation = HRESULT WINAPI(void*, Arguments...);
    return reinterpret_cast<Operation*>(table[slot])(object, arguments...);
}

// The destructor takes two places of the table: one ends the object, the other frees it as well.
enum Slot : std::size_t
{
    QueryInterface,
    AddRef,
    Release,
    GetTypeInfoCount,
    GetTypeInfo,
    GetIDsOfNames,
    Invoke,
    Destructor,
    FreeingDestructor,
    ConnectionMade,
    ConnectionMadeNoQOCInfo,
    ConnectionLost,
    DestinationReachable,
    DestinationReachableNoQOCInfo,
    Logon,
    Logoff,
    StartShell,
    DisplayLock,
    DisplayUnlock,
    StartScreenSaver,
    StopScreenSaver,
    OnACPower,
    OnBatteryPower,
    BatteryLow,
};

// Where the compiler has put a virtual operation.
template <typename Operation>
std::size_t SlotOf(Operation operation)
{
    std::ptrdiff_t code = 0;
    std::memcpy(&code, &operation, sizeof(code));
    return static_cast<std::size_t>(code - 1) / sizeof(void*);
}

class SensSinkTest : public ::testing::Test
{
protected:
    SensSinkTest() { g_posted.clear(); }

    TestSupport::ImportPatch post{nullptr, "PostMessageW", &NotePost};
    CQxSensSink sink{frame};
};
} // namespace

TEST_F(SensSinkTest, TheOperationsStandInTheirOrder)
{
    EXPECT_EQ(SlotOf(&CQxSensSink::QueryInterface), Slot::QueryInterface);
    EXPECT_EQ(SlotOf(&CQxSensSink::AddRef), Slot::AddRef);
    EXPECT_EQ(SlotOf(&CQxSensSink::Release), Slot::Release);
    EXPECT_EQ(SlotOf(&CQxSensSink::GetTypeInfoCount), Slot::GetTypeInfoCount);
    EXPECT_EQ(SlotOf(&CQxSensSink::GetTypeInfo), Slot::GetTypeInfo);
    EXPECT_EQ(SlotOf(&CQxSensSink::GetIDsOfNames), Slot::GetIDsOfNames);
    EXPECT_EQ(SlotOf(&CQxSensSink::Invoke), Slot::Invoke);
    EXPECT_EQ(SlotOf(&CQxSensSink::ConnectionMade), Slot::ConnectionMade);
    EXPECT_EQ(SlotOf(&CQxSensSink::ConnectionMadeNoQOCInfo), Slot::ConnectionMadeNoQOCInfo);
    EXPECT_EQ(SlotOf(&CQxSensSink::ConnectionLost), Slot::ConnectionLost);
    EXPECT_EQ(SlotOf(&CQxSensSink::DestinationReachable), Slot::DestinationReachable);
    EXPECT_EQ(SlotOf(&CQxSensSink::DestinationReachableNoQOCInfo), Slot::DestinationReachableNoQOCInfo);
    EXPECT_EQ(SlotOf(&CQxSensSink::Logon), Slot::Logon);
    EXPECT_EQ(SlotOf(&CQxSensSink::Logoff), Slot::Logoff);
    EXPECT_EQ(SlotOf(&CQxSensSink::StartShell), Slot::StartShell);
    EXPECT_EQ(SlotOf(&CQxSensSink::DisplayLock), Slot::DisplayLock);
    EXPECT_EQ(SlotOf(&CQxSensSink::DisplayUnlock), Slot::DisplayUnlock);
    EXPECT_EQ(SlotOf(&CQxSensSink::StartScreenSaver), Slot::StartScreenSaver);
    EXPECT_EQ(SlotOf(&CQxSensSink::StopScreenSaver), Slot::StopScreenSaver);
    EXPECT_EQ(SlotOf(&CQxSensSink::OnACPower), Slot::OnACPower);
    EXPECT_EQ(SlotOf(&CQxSensSink::OnBatteryPower), Slot::OnBatteryPower);
    EXPECT_EQ(SlotOf(&CQxSensSink::BatteryLow), Slot::BatteryLow);
}

TEST_F(SensSinkTest, AnswersForItsInterfacesWithOnePointer)
{
    const IID known[] = {IID_IUnknown, IID_IDispatch, SensInterface(0xD597BAB1), SensInterface(0xD597BAB2),
                         SensInterface(0xD597BAB3)};
    HRESULT references = 1;
    for (const IID& iid : known)
    {
        void* object = nullptr;
        EXPECT_EQ(CallSlot(&sink, Slot::QueryInterface, &iid, &object), S_OK);
        EXPECT_EQ(object, &sink);
        EXPECT_EQ(CallSlot(&sink, Slot::AddRef), references + 2);
        EXPECT_EQ(CallSlot(&sink, Slot::Release), ++references);
    }
}

TEST_F(SensSinkTest, HasNoOtherInterface)
{
    const IID strangers[] = {IID_IClassFactory, SensInterface(0xD597BAB0), SensInterface(0xD597BAB4)};
    for (const IID& iid : strangers)
    {
        void* object = &sink;
        EXPECT_EQ(CallSlot(&sink, Slot::QueryInterface, &iid, &object), static_cast<HRESULT>(0x80004002));
        EXPECT_EQ(object, nullptr);
    }
    EXPECT_EQ(CallSlot(&sink, Slot::AddRef), 2) << "no reference was given";
}

TEST_F(SensSinkTest, RefusesAPlaceThatIsNone)
{
    void** const nowhere = nullptr;
    EXPECT_EQ(CallSlot(&sink, Slot::QueryInterface, &IID_IUnknown, nowhere), E_POINTER);
}

TEST_F(SensSinkTest, CountsReferencesBelowZeroAndNeverFreesItself)
{
    EXPECT_EQ(CallSlot(&sink, Slot::AddRef), 2);
    EXPECT_EQ(CallSlot(&sink, Slot::Release), 1);
    EXPECT_EQ(CallSlot(&sink, Slot::Release), 0);
    EXPECT_EQ(CallSlot(&sink, Slot::Release), -1);
    EXPECT_EQ(CallSlot(&sink, Slot::AddRef), 0);
    EXPECT_EQ(sink.ConnectionMade(nullptr, 1, nullptr), S_OK);
    EXPECT_EQ(g_posted.size(), 1U);
}

TEST_F(SensSinkTest, CountsReferencesOfManyThreads)
{
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
    {
        threads.emplace_back(
            [this]
            {
                for (int round = 0; round < 10000; ++round)
                {
                    sink.AddRef();
                    sink.AddRef();
                    sink.Release();
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(sink.AddRef(), 40002U);
}

TEST_F(SensSinkTest, HasNoTypeInformation)
{
    const auto notImplemented = static_cast<HRESULT>(0x80004001);
    UINT count = 0;
    ITypeInfo* info = nullptr;
    DISPID id = 0;
    LPOLESTR name = nullptr;
    DISPPARAMS parameters{};
    VARIANT* const result = nullptr;
    EXPECT_EQ(CallSlot(&sink, Slot::GetTypeInfoCount, &count), notImplemented);
    EXPECT_EQ(CallSlot(&sink, Slot::GetTypeInfo, 0U, LCID{0}, &info), notImplemented);
    EXPECT_EQ(CallSlot(&sink, Slot::GetIDsOfNames, &IID_NULL, &name, 1U, LCID{0}, &id), notImplemented);
    EXPECT_EQ(CallSlot(&sink, Slot::Invoke, DISPID{0}, &IID_NULL, LCID{0}, WORD{1}, &parameters, result,
                       static_cast<EXCEPINFO*>(nullptr), static_cast<UINT*>(nullptr)),
              notImplemented);
}

TEST_F(SensSinkTest, PostsWhatHappenedToTheNetwork)
{
    const BSTR connection = nullptr;
    const LPSENS_QOCINFO info = nullptr;
    EXPECT_EQ(CallSlot(&sink, Slot::ConnectionMade, connection, ULONG{1}, info), 0);
    EXPECT_EQ(CallSlot(&sink, Slot::ConnectionMadeNoQOCInfo, connection, ULONG{2}), 0);
    EXPECT_EQ(CallSlot(&sink, Slot::ConnectionLost, connection, ULONG{0xFFFFFFFF}), 0);
    EXPECT_EQ(g_posted, (std::vector<Posted>{
                            {frame, 0x0430, 1, 0}, {frame, 0x0431, 2, 0}, {frame, 0x0432, 0xFFFFFFFF, 0}}));
}

TEST_F(SensSinkTest, PostsNothingWithoutAWindow)
{
    CQxSensSink alone(noWindow);
    EXPECT_EQ(alone.ConnectionMade(nullptr, 1, nullptr), 0);
    EXPECT_EQ(alone.ConnectionMadeNoQOCInfo(nullptr, 1), 0);
    EXPECT_EQ(alone.ConnectionLost(nullptr, 1), 0);
    EXPECT_THAT(g_posted, IsEmpty());
}

TEST_F(SensSinkTest, AllOtherEventsDoNothing)
{
    const BSTR text = nullptr;
    const LPSENS_QOCINFO info = nullptr;
    EXPECT_EQ(CallSlot(&sink, Slot::DestinationReachable, text, text, ULONG{1}, info), 0);
    EXPECT_EQ(CallSlot(&sink, Slot::DestinationReachableNoQOCInfo, text, text, ULONG{1}), 0);
    for (const Slot slot : {Slot::Logon, Slot::Logoff, Slot::StartShell, Slot::DisplayLock,
                            Slot::DisplayUnlock, Slot::StartScreenSaver, Slot::StopScreenSaver})
    {
        EXPECT_EQ(CallSlot(&sink, slot, text), 0);
    }
    EXPECT_EQ(CallSlot(&sink, Slot::OnACPower), 0);
    EXPECT_EQ(CallSlot(&sink, Slot::OnBatteryPower, DWORD{50}), 0);
    EXPECT_EQ(CallSlot(&sink, Slot::BatteryLow, DWORD{5}), 0);
    EXPECT_THAT(g_posted, IsEmpty());
}

TEST_F(SensSinkTest, TheDestructorInTheTableFreesTheObject)
{
    auto* const object = new CQxSensSink(frame);
    const long long blocks = BlocksAlive();
    CallSlot(object, Slot::FreeingDestructor);
    EXPECT_EQ(BlocksAlive(), blocks - 1);
}

TEST(SensSinkMessageTest, ReachesTheWindowFromAnyThread)
{
    const HWND window =
        CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    CQxSensSink sink(window);
    std::thread([&sink] { sink.ConnectionMade(nullptr, 1, nullptr); }).join();
    MSG message{};
    ASSERT_TRUE(PeekMessageW(&message, window, 0x0430, 0x0432, PM_REMOVE));
    EXPECT_EQ(message.message, 0x0430U);
    EXPECT_EQ(message.wParam, 1U);
    EXPECT_EQ(message.lParam, 0);
    DestroyWindow(window);
}

#include "VzComn_Synchronize.h"

#include "FakeOsVersion.h"
#include "ImportPatch.h"
#include "ObjectCounts.h"
#include "UniqueName.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace
{

using TestSupport::FakeOsVersion;
using TestSupport::GrowthOf;
using TestSupport::ImportPatch;
using TestSupport::UniqueName;
using VzCommon::KernelHandle;
using VzCommon::Synchronize::Event;
using VzCommon::Synchronize::Mutex;
using VzCommon::Synchronize::SingleLock;

// What the last creating call was given.
struct Created
{
    SECURITY_ATTRIBUTES* attributes;
    ACCESS_MASK firstMask; // of the first entry of the access list
    BOOL manualResetOrOwner;
    BOOL initialState;
    std::wstring name;
} g_created;

ACCESS_MASK FirstMask(SECURITY_ATTRIBUTES* attributes)
{
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    ACL* list = nullptr;
    void* entry = nullptr;
    GetSecurityDescriptorDacl(attributes->lpSecurityDescriptor, &present, &list, &defaulted);
    return GetAce(list, 0, &entry) ? static_cast<ACCESS_ALLOWED_ACE*>(entry)->Mask : 0;
}

HANDLE WINAPI RecordEvent(SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL initialState,
                          const wchar_t* name)
{
    g_created = {attributes, FirstMask(attributes), manualReset, initialState, name};
    SetLastError(8);
    return nullptr;
}

HANDLE WINAPI RecordMutex(SECURITY_ATTRIBUTES* attributes, BOOL initialOwner, const wchar_t* name)
{
    g_created = {attributes, FirstMask(attributes), initialOwner, FALSE, name};
    SetLastError(8);
    return nullptr;
}

BOOL WINAPI RefuseToClose(HANDLE /*handle*/)
{
    SetLastError(5);
    return FALSE;
}

bool IsSignalled(HANDLE event)
{
    return WaitForSingleObject(event, 0) == WAIT_OBJECT_0;
}

// Whether another thread could take the mutex at this moment.
bool IsFree(HANDLE mutex)
{
    bool free = false;
    std::thread(
        [&]
        {
            free = WaitForSingleObject(mutex, 0) == WAIT_OBJECT_0;
            ReleaseMutex(mutex);
        })
        .join();
    return free;
}

class EventTest : public testing::Test
{
protected:
    const std::wstring name = UniqueName(L"EventTest");
    std::uint32_t error = 4711;
    Event event;
};

class MutexTest : public testing::Test
{
protected:
    const std::wstring name = UniqueName(L"MutexTest");
    std::uint32_t error = 4711;
    Mutex mutex;
};

} // namespace

TEST_F(EventTest, IsSharedByAllSessionsManualAndNotSignalled)
{
    ASSERT_TRUE(event.CreateMultipleGlobal(name.c_str(), &error));
    EXPECT_EQ(error, 0U);
    EXPECT_FALSE(IsSignalled(event.Handle()));

    const KernelHandle same(OpenEventW(EVENT_ALL_ACCESS, FALSE, (L"Global\\" + name).c_str()));
    ASSERT_TRUE(static_cast<bool>(same));
    SetEvent(same.Get());
    EXPECT_TRUE(IsSignalled(event.Handle()));
    EXPECT_TRUE(IsSignalled(event.Handle()));
}

TEST_F(EventTest, TellsOfAnExistingEventAndSharesIt)
{
    Event first;
    ASSERT_TRUE(first.CreateMultipleGlobal(name.c_str(), nullptr));
    ASSERT_TRUE(event.CreateMultipleGlobal(name.c_str(), &error));
    EXPECT_EQ(error, 183U);
    ASSERT_TRUE(SetEvent(event.Handle()));
    EXPECT_TRUE(IsSignalled(first.Handle()));
}

TEST_F(EventTest, ThatMustBeNewFailsOnAnExistingOne)
{
    Event first;
    ASSERT_TRUE(first.CreateMultipleGlobal(name.c_str(), nullptr));
    EXPECT_FALSE(event.CreateGlobal(name, true, true, false, &error));
    EXPECT_EQ(error, 183U);
    EXPECT_EQ(event.Handle(), nullptr);
    EXPECT_TRUE(event.CreateGlobal(name + L"other", true, true, false, &error));
    EXPECT_EQ(error, 0U);
}

TEST_F(EventTest, ThatWasMadeToBeNewRefusesEverySecondCreator)
{
    Event first;
    ASSERT_TRUE(first.CreateGlobal(name, true, true, false, nullptr));
    EXPECT_FALSE(event.CreateGlobal(name, true, true, false, &error));
    EXPECT_EQ(error, 5U);
    EXPECT_FALSE(event.CreateGlobal(name, false, true, false, &error));
    EXPECT_EQ(error, 5U);
    EXPECT_EQ(event.Handle(), nullptr);
}

TEST_F(EventTest, RefusesASecondCreateAndKeepsTheFirst)
{
    ASSERT_TRUE(event.CreateMultipleGlobal(name.c_str(), nullptr));
    const HANDLE before = event.Handle();
    EXPECT_FALSE(event.CreateMultipleGlobal((name + L"other").c_str(), &error));
    EXPECT_EQ(error, 6U);
    EXPECT_EQ(event.Handle(), before);
    EXPECT_FALSE(event.CreateGlobal(L"", false, true, false, &error));
    EXPECT_EQ(error, 6U);
}

TEST_F(EventTest, RefusesANameThatIsNone)
{
    EXPECT_FALSE(event.CreateMultipleGlobal(nullptr, &error));
    EXPECT_EQ(error, 160U);
    error = 0;
    EXPECT_FALSE(event.CreateMultipleGlobal(L"", &error));
    EXPECT_EQ(error, 160U);
    EXPECT_FALSE(event.CreateMultipleGlobal(nullptr, nullptr));
}

TEST_F(EventTest, HasNoNameWhenTheSystemVersionIsUnknown)
{
    const FakeOsVersion version(DWORD{122});
    EXPECT_FALSE(event.CreateMultipleGlobal(name.c_str(), &error));
    EXPECT_EQ(error, 160U);
    EXPECT_FALSE(Event::ExistsGlobal(name.c_str()));
}

TEST_F(EventTest, FailsUnderTheNameOfAMutex)
{
    const KernelHandle squatter(CreateMutexW(nullptr, FALSE, (L"Global\\" + name).c_str()));
    EXPECT_FALSE(event.CreateMultipleGlobal(name.c_str(), &error));
    EXPECT_EQ(error, 6U);
    EXPECT_EQ(event.Handle(), nullptr);
}

TEST_F(EventTest, LeavesANameAloneThatHoldsThePrefixAnywhere)
{
    EXPECT_FALSE(event.CreateMultipleGlobal((name + L"Global\\b").c_str(), &error));
    EXPECT_EQ(error, 3U);
}

TEST_F(EventTest, PassesItsArgumentsOn)
{
    const ImportPatch patch(nullptr, "CreateEventW", &RecordEvent);
    EXPECT_FALSE(event.CreateGlobal(L"Local\\x", true, false, true, &error));
    EXPECT_EQ(error, 8U);
    EXPECT_EQ(g_created.name, L"Global\\Local\\x");
    EXPECT_FALSE(g_created.manualResetOrOwner);
    EXPECT_TRUE(g_created.initialState);
    EXPECT_EQ(g_created.firstMask, 0x100002U);

    EXPECT_FALSE(event.CreateGlobal(L"Global\\x", false, true, false, &error));
    EXPECT_EQ(g_created.name, L"Global\\x");
    EXPECT_TRUE(g_created.manualResetOrOwner);
    EXPECT_FALSE(g_created.initialState);
    EXPECT_EQ(g_created.firstMask, 0x1F0003U);
}

TEST_F(EventTest, PutsTheSharedPrefixBeforeANameOfTheSession)
{
    const ImportPatch patch(nullptr, "CreateEventW", &RecordEvent);
    EXPECT_FALSE(event.CreateMultipleGlobal(L"Local\\x", &error));
    EXPECT_EQ(g_created.name, L"Global\\Local\\x");
    EXPECT_TRUE(g_created.manualResetOrOwner);
    EXPECT_FALSE(g_created.initialState);
    EXPECT_EQ(g_created.firstMask, 0x1F0003U);
}

TEST_F(EventTest, ResetsItselfWhenMadeSo)
{
    ASSERT_TRUE(event.CreateGlobal(name, false, false, true, nullptr));
    EXPECT_TRUE(IsSignalled(event.Handle()));
    EXPECT_FALSE(IsSignalled(event.Handle()));
}

TEST_F(EventTest, CloseSucceedsOnce)
{
    EXPECT_FALSE(event.Close());
    ASSERT_TRUE(event.CreateMultipleGlobal(name.c_str(), nullptr));
    EXPECT_TRUE(event.Close());
    EXPECT_EQ(event.Handle(), nullptr);
    EXPECT_FALSE(event.Close());
    EXPECT_FALSE(Event::ExistsGlobal(name.c_str()));
    EXPECT_TRUE(event.CreateMultipleGlobal(name.c_str(), nullptr));
}

TEST_F(EventTest, CloseTellsOfARefusal)
{
    ASSERT_TRUE(event.CreateMultipleGlobal(name.c_str(), nullptr));
    const ImportPatch patch(nullptr, "CloseHandle", &RefuseToClose);
    EXPECT_FALSE(event.Close());
    EXPECT_EQ(event.Handle(), nullptr);
}

TEST_F(EventTest, DestructorIgnoresARefusal)
{
    const ImportPatch patch(nullptr, "CloseHandle", &RefuseToClose);
    Event shortLived;
    ASSERT_TRUE(shortLived.CreateMultipleGlobal(name.c_str(), nullptr));
}

TEST_F(EventTest, ExistsForWhoMayQueryIt)
{
    EXPECT_FALSE(Event::ExistsGlobal(name.c_str()));
    ASSERT_TRUE(event.CreateMultipleGlobal(name.c_str(), nullptr));
    EXPECT_TRUE(Event::ExistsGlobal(name.c_str()));
    EXPECT_TRUE(Event::ExistsGlobal((L"Global\\" + name).c_str()));
}

TEST_F(EventTest, DoesNotExistForWhoMayNotQueryIt)
{
    ASSERT_TRUE(event.CreateGlobal(name, true, true, false, nullptr));
    EXPECT_FALSE(Event::ExistsGlobal(name.c_str()));
}

TEST_F(EventTest, DoesNotExistWithoutAName)
{
    EXPECT_FALSE(Event::ExistsGlobal(nullptr));
    EXPECT_FALSE(Event::ExistsGlobal(L""));
}

TEST_F(EventTest, IsNotLockedByALock)
{
    ASSERT_TRUE(event.CreateGlobal(name, false, false, true, nullptr));
    {
        const SingleLock guard(&event);
    }
    EXPECT_TRUE(IsSignalled(event.Handle())); // nobody took the signal
}

TEST_F(EventTest, LeavesNothingBehind)
{
    EXPECT_EQ(GrowthOf(
                  [this]
                  {
                      Event first;
                      Event second;
                      Event third;
                      EXPECT_TRUE(first.CreateMultipleGlobal(name.c_str(), nullptr));
                      EXPECT_TRUE(second.CreateMultipleGlobal(name.c_str(), nullptr));
                      EXPECT_FALSE(third.CreateGlobal(name, true, true, false, nullptr));
                      EXPECT_TRUE(Event::ExistsGlobal(name.c_str()));
                  }),
              "");
}

TEST_F(MutexTest, BelongsToTheSession)
{
    ASSERT_TRUE(mutex.CreateLocal(name, false, false, &error));
    EXPECT_EQ(error, 0U);
    const KernelHandle same(OpenMutexW(SYNCHRONIZE, FALSE, (L"Local\\" + name).c_str()));
    EXPECT_TRUE(static_cast<bool>(same));
}

TEST_F(MutexTest, RefusesASecondOwnerInTheSameSession)
{
    Mutex first;
    ASSERT_TRUE(first.CreateLocal(name, true, true, nullptr));
    EXPECT_FALSE(mutex.CreateLocal(name, true, true, &error));
    EXPECT_TRUE(error == 183U || error == 5U)
        << error; // the rights of the first may come before its being there
    EXPECT_EQ(mutex.Handle(), nullptr);
}

TEST_F(MutexTest, ThatMustBeNewFailsOnAnExistingOne)
{
    Mutex first;
    ASSERT_TRUE(first.CreateLocal(name, false, false, nullptr));
    EXPECT_FALSE(mutex.CreateLocal(name, true, true, &error));
    EXPECT_EQ(error, 183U);
    EXPECT_EQ(mutex.Handle(), nullptr);
    EXPECT_TRUE(IsFree(first.Handle()));
}

TEST_F(MutexTest, TellsOfAnExistingMutexAndSharesIt)
{
    Mutex first;
    ASSERT_TRUE(first.CreateLocal(name, false, true, nullptr));
    ASSERT_TRUE(mutex.CreateLocal(name, false, false, &error));
    EXPECT_EQ(error, 183U);
    EXPECT_FALSE(IsFree(mutex.Handle()));
}

TEST_F(MutexTest, RefusesASecondCreateAndKeepsTheFirst)
{
    ASSERT_TRUE(mutex.CreateLocal(name, false, false, nullptr));
    const HANDLE before = mutex.Handle();
    EXPECT_FALSE(mutex.CreateLocal(name + L"other", false, false, &error));
    EXPECT_EQ(error, 6U);
    EXPECT_EQ(mutex.Handle(), before);
}

TEST_F(MutexTest, RefusesANameThatIsNone)
{
    EXPECT_FALSE(mutex.CreateLocal(L"", true, true, &error));
    EXPECT_EQ(error, 160U);
}

TEST_F(MutexTest, HasNoNameWhenTheSystemVersionIsUnknown)
{
    const FakeOsVersion version(DWORD{122});
    EXPECT_FALSE(mutex.CreateLocal(name, true, true, &error));
    EXPECT_EQ(error, 160U);
}

TEST_F(MutexTest, FailsUnderTheNameOfAnEvent)
{
    const KernelHandle squatter(CreateEventW(nullptr, TRUE, FALSE, (L"Local\\" + name).c_str()));
    EXPECT_FALSE(mutex.CreateLocal(name, true, true, &error));
    EXPECT_EQ(error, 6U);
}

TEST_F(MutexTest, PassesItsArgumentsOn)
{
    const ImportPatch patch(nullptr, "CreateMutexW", &RecordMutex);
    EXPECT_FALSE(mutex.CreateLocal(L"Global\\x", true, true, &error));
    EXPECT_EQ(error, 8U);
    EXPECT_EQ(g_created.name, L"Local\\Global\\x");
    EXPECT_TRUE(g_created.manualResetOrOwner);
    EXPECT_EQ(g_created.firstMask, 0x100001U);

    EXPECT_FALSE(mutex.CreateLocal(L"Local\\x", false, false, &error));
    EXPECT_EQ(g_created.name, L"Local\\x");
    EXPECT_FALSE(g_created.manualResetOrOwner);
    EXPECT_EQ(g_created.firstMask, 0x1F0001U);
}

TEST_F(MutexTest, IsHeldAndReleased)
{
    ASSERT_TRUE(mutex.CreateLocal(name, false, true, nullptr));
    EXPECT_FALSE(IsFree(mutex.Handle()));
    mutex.Unlock();
    EXPECT_TRUE(IsFree(mutex.Handle()));
    {
        const SingleLock guard(&mutex);
        EXPECT_FALSE(IsFree(mutex.Handle()));
    }
    EXPECT_TRUE(IsFree(mutex.Handle()));
}

TEST_F(MutexTest, StaysHeldWhenAnotherThreadUnlocksIt)
{
    ASSERT_TRUE(mutex.CreateLocal(name, false, true, nullptr));
    std::thread([this] { mutex.Unlock(); }).join();
    EXPECT_FALSE(IsFree(mutex.Handle()));
}

TEST_F(MutexTest, IsTakenAlsoAfterItsOwnerDied)
{
    ASSERT_TRUE(mutex.CreateLocal(name, false, false, nullptr));
    std::thread([this] { mutex.Lock(); }).join();
    mutex.Lock();
    EXPECT_FALSE(IsFree(mutex.Handle()));
}

TEST_F(MutexTest, WithoutAHandleLocksNothing)
{
    const SingleLock guard(&mutex);
}

TEST_F(MutexTest, CloseSucceedsOnce)
{
    EXPECT_FALSE(mutex.Close());
    ASSERT_TRUE(mutex.CreateLocal(name, true, true, nullptr));
    EXPECT_TRUE(mutex.Close());
    EXPECT_FALSE(mutex.Close());
    EXPECT_TRUE(mutex.CreateLocal(name, true, true, &error));
    EXPECT_EQ(error, 0U);
}

TEST_F(MutexTest, LeavesNothingBehind)
{
    EXPECT_EQ(GrowthOf(
                  [this]
                  {
                      Mutex first;
                      Mutex second;
                      EXPECT_TRUE(first.CreateLocal(name, true, true, nullptr));
                      EXPECT_FALSE(second.CreateLocal(name, true, true, nullptr));
                  }),
              "");
}

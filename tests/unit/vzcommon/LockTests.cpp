#include "VzComn_Synchronize.h"

#include "ObjectCounts.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace
{

using VzCommon::Synchronize::Base;
using VzCommon::Synchronize::CriticalSection;
using VzCommon::Synchronize::SingleLock;

class RecordedLock : public Base
{
public:
    void Lock() override { calls += "lock "; }

    void Unlock() override { calls += "unlock "; }

    std::string calls;
};

} // namespace

TEST(SingleLockTest, HoldsForTheLengthOfItsScope)
{
    RecordedLock lock;
    {
        const SingleLock guard(&lock);
        EXPECT_EQ(lock.calls, "lock ");
    }
    EXPECT_EQ(lock.calls, "lock unlock ");
}

TEST(SingleLockTest, UnlocksWhenAnExceptionLeavesTheScope)
{
    RecordedLock lock;
    try
    {
        const SingleLock guard(&lock);
        throw 1;
    }
    catch (int)
    {
        EXPECT_EQ(lock.calls, "lock unlock ");
    }
}

TEST(SingleLockTest, DoesNothingWithoutALock)
{
    const SingleLock guard(nullptr);
}

TEST(CriticalSectionTest, IsRecursiveForItsThread)
{
    CriticalSection section;
    const SingleLock outer(&section);
    const SingleLock inner(&section);
}

TEST(CriticalSectionTest, KeepsOtherThreadsOut)
{
    CriticalSection section;
    long counter = 0;
    const auto count = [&]
    {
        for (int i = 0; i < 20000; ++i)
        {
            const SingleLock guard(&section);
            ++counter;
        }
    };
    std::thread first(count);
    std::thread second(count);
    first.join();
    second.join();
    EXPECT_EQ(counter, 40000);
}

TEST(CriticalSectionTest, LeavesNothingBehind)
{
    EXPECT_EQ(TestSupport::GrowthOf(
                  []
                  {
                      CriticalSection section;
                      const SingleLock guard(&section);
                  }),
              "");
}

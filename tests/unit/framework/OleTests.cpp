#include <afxdisp.h>
#include <gtest/gtest.h>
#include <objbase.h>

#include <thread>

namespace
{
// Whether COM is up on this thread, single-threaded.
bool ComIsUp()
{
    const HRESULT result = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (SUCCEEDED(result))
    {
        CoUninitialize();
    }
    return result == RPC_E_CHANGED_MODE;
}

TEST(OleTest, ComesUpAndGoesDown)
{
    EXPECT_FALSE(ComIsUp());
    EXPECT_TRUE(AfxOleInit());
    EXPECT_TRUE(ComIsUp());
    AfxEnableControlContainer();
    AfxOleTerm(FALSE);
    EXPECT_FALSE(ComIsUp());
}

TEST(OleTest, GoesDownAtOnceHoweverOftenItCameUp)
{
    EXPECT_TRUE(AfxOleInit());
    EXPECT_TRUE(AfxOleInit());
    AfxOleTerm();
    EXPECT_FALSE(ComIsUp());
}

TEST(OleTest, GoesDownOnce)
{
    ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
    EXPECT_TRUE(AfxOleInit());
    AfxOleTerm();
    AfxOleTerm();
    EXPECT_TRUE(ComIsUp()); // the one of this test is still counted
    CoUninitialize();
    EXPECT_FALSE(ComIsUp());
}

TEST(OleTest, DoesNothingWithoutHavingComeUp)
{
    ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
    AfxOleTerm(FALSE);
    EXPECT_TRUE(ComIsUp());
    CoUninitialize();
}

TEST(OleTest, StaysUpWhenOnlyTheFilterIsRevoked)
{
    EXPECT_TRUE(AfxOleInit());
    AfxOleTerm(TRUE);
    EXPECT_TRUE(ComIsUp());
    AfxOleTerm();
}

TEST(OleTest, FailsOnAThreadThatIsMultithreaded)
{
    std::thread(
        []
        {
            ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
            EXPECT_FALSE(AfxOleInit());
            AfxOleTerm();
            CoUninitialize();
        })
        .join();
}

TEST(OleTest, BalancesAgainstOtherUsers)
{
    EXPECT_TRUE(AfxOleInit());
    EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
    CoUninitialize();
    EXPECT_TRUE(ComIsUp());
    AfxOleTerm();
    EXPECT_FALSE(ComIsUp());
}
} // namespace

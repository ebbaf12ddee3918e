#include "ImportPatch.h"
#include "LogCapture.h"
#include "VzComn_LogFront.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <atomic>
#include <thread>

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using TestSupport::LogCapture;

// What ends the waits of the logs ends them for good, so each of these cases wants a process of its own.
namespace
{

std::atomic<bool> s_isHeld{false};
std::atomic<bool> s_mayGo{false};

void Hold(const wchar_t* line)
{
    if (std::wstring(line).find(L"held") == std::wstring::npos)
    {
        return;
    }
    s_isHeld = true;
    while (!s_mayGo)
    {
        std::this_thread::yield();
    }
}

TEST(LogWaitTest, ALineIsLostWhileAnotherOneHoldsTheLog)
{
    const LogCapture log;
    log.Writer().duringTrace = &Hold;
    std::jthread holder([] { LOG_ERROR << L"held"; });
    while (!s_isHeld)
    {
        std::this_thread::yield();
    }
    VzCommon::EndLogWaits();
    const ULONGLONG begin = GetTickCount64();
    LOG_ERROR << L"lost";
    LOG_ERROR << L"lost too";
    LOG_ERROR << L"and another one";
    EXPECT_LT(GetTickCount64() - begin, 10000U) << "only the first one is waited for";
    s_mayGo = true;
    holder.join();
    LOG_ERROR << L"free again";
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] held", L": [ERROR] free again"));
}

void WINAPI LetHolderGo(DWORD milliseconds)
{
    s_mayGo = true;
    SleepEx(milliseconds, FALSE);
}

TEST(LogWaitTest, ALineIsWaitedForWhileItsTurnMayCome)
{
    const LogCapture log;
    log.Writer().duringTrace = &Hold;
    const std::jthread holder([] { LOG_ERROR << L"held"; });
    while (!s_isHeld)
    {
        std::this_thread::yield();
    }
    VzCommon::EndLogWaits();
    const TestSupport::ImportPatch sleep(nullptr, "Sleep", &LetHolderGo);
    LOG_ERROR << L"behind it";
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] held", L": [ERROR] behind it"));
}

TEST(LogWaitTest, ALineThatComesFromWithinTheWriterIsLost)
{
    const LogCapture log;
    log.Writer().duringTrace = [](const wchar_t* line)
    {
        if (std::wstring(line).find(L"outer") != std::wstring::npos)
        {
            LOG_ERROR << L"inner";
        }
    };
    VzCommon::EndLogWaits();
    LOG_ERROR << L"outer";
    LOG_ERROR << L"next";
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] outer", L": [ERROR] next"));
}

TEST(LogWaitTest, AThreadIsItselfAgainAfterALineFromWithinTheWriter)
{
    const LogCapture log;
    log.Writer().duringTrace = [](const wchar_t* line)
    {
        if (std::wstring(line).find(L"outer") != std::wstring::npos)
        {
            LOG_ERROR << L"inner";
            VzCommon::EndLogWaits();
            LOG_ERROR << L"lost";
        }
    };
    LOG_ERROR << L"outer";
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] inner"));
    EXPECT_THAT(log.Texts(), Not(Contains(L": [ERROR] lost")));
}

} // namespace

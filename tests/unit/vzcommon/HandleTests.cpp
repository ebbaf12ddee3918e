#include "VzComn_Handle.h"

#include "ObjectCounts.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>
#include <vector>

namespace
{

using TestSupport::GrowthOf;

// Handles that are plain numbers; -1 is the empty one.
struct NumberTraits
{
    using Type = int;

    static Type Empty() noexcept { return -1; }

    static bool Close(Type handle) noexcept
    {
        SetLastError(999);
        closed.push_back(handle);
        return !refuse;
    }

    static inline std::vector<int> closed;
    static inline bool refuse = false;
};

using Number = VzCommon::UniqueHandle<NumberTraits>;

using Closed = std::vector<int>;

} // namespace

TEST(UniqueHandleTest, ClosesAtTheEndOfItsScope)
{
    {
        const Number handle(3);
        EXPECT_TRUE(static_cast<bool>(handle));
        EXPECT_EQ(handle.Get(), 3);
    }
    EXPECT_EQ(NumberTraits::closed, Closed{3});
}

TEST(UniqueHandleTest, StartsEmptyAndClosesNothing)
{
    {
        const Number handle;
        EXPECT_FALSE(static_cast<bool>(handle));
        EXPECT_EQ(handle.Get(), -1);
    }
    EXPECT_EQ(NumberTraits::closed, Closed{});
}

TEST(UniqueHandleTest, OwnsAZeroThatIsNotTheEmptyValue)
{
    {
        const Number handle(0);
        EXPECT_TRUE(static_cast<bool>(handle));
    }
    EXPECT_EQ(NumberTraits::closed, Closed{0});
}

TEST(UniqueHandleTest, KeepsTheLastErrorOfItsCaller)
{
    SetLastError(5);
    {
        const Number handle(3);
    }
    EXPECT_EQ(GetLastError(), 5U);
}

TEST(UniqueHandleTest, MoveConstructionHandsOver)
{
    {
        Number first(3);
        const Number second(std::move(first));
        EXPECT_EQ(second.Get(), 3);
        EXPECT_FALSE(static_cast<bool>(first)); // NOLINT(bugprone-use-after-move): that is the question
    }
    EXPECT_EQ(NumberTraits::closed, Closed{3});
}

TEST(UniqueHandleTest, MoveAssignmentClosesTheOldAndTakesTheNew)
{
    {
        Number first(3);
        Number second(4);
        second = std::move(first);
        EXPECT_EQ(NumberTraits::closed, Closed{4});
        EXPECT_EQ(second.Get(), 3);
        EXPECT_FALSE(static_cast<bool>(first)); // NOLINT(bugprone-use-after-move): that is the question
    }
    EXPECT_EQ(NumberTraits::closed, (Closed{4, 3}));
}

TEST(UniqueHandleTest, MoveAssignmentToItselfChangesNothing)
{
    Number handle(3);
    Number& same = handle;
    handle = std::move(same);
    EXPECT_EQ(handle.Get(), 3);
    EXPECT_EQ(NumberTraits::closed, Closed{});
}

TEST(UniqueHandleTest, CannotBeCopied)
{
    EXPECT_FALSE(std::is_copy_constructible_v<Number>);
    EXPECT_FALSE(std::is_copy_assignable_v<Number>);
}

TEST(UniqueHandleTest, ReleaseGivesUpWithoutClosing)
{
    Number handle(3);
    EXPECT_EQ(handle.Release(), 3);
    EXPECT_FALSE(static_cast<bool>(handle));
    EXPECT_EQ(NumberTraits::closed, Closed{});
}

TEST(UniqueHandleTest, ResetReplaces)
{
    Number handle(3);
    handle.Reset(4);
    EXPECT_EQ(NumberTraits::closed, Closed{3});
    EXPECT_EQ(handle.Get(), 4);
    handle.Reset();
    EXPECT_EQ(NumberTraits::closed, (Closed{3, 4}));
    EXPECT_FALSE(static_cast<bool>(handle));
}

TEST(UniqueHandleTest, PutClosesBeforeItHandsOut)
{
    Number handle(3);
    *handle.Put() = 4;
    EXPECT_EQ(NumberTraits::closed, Closed{3});
    EXPECT_EQ(handle.Get(), 4);
}

TEST(UniqueHandleTest, CloseTellsOfSuccessOnce)
{
    Number handle(3);
    EXPECT_TRUE(handle.Close());
    EXPECT_FALSE(handle.Close());
    EXPECT_EQ(NumberTraits::closed, Closed{3});
}

TEST(UniqueHandleTest, ARefusedCloseKeepsTheHandleAndTheReason)
{
    NumberTraits::refuse = true;
    Number handle(3);
    SetLastError(0);
    EXPECT_FALSE(handle.Close());
    EXPECT_EQ(GetLastError(), 999U);
    EXPECT_EQ(handle.Get(), 3);
}

TEST(UniqueHandleTest, EveryKindIsClosedByItsOwnFunction)
{
    EXPECT_EQ(GrowthOf(
                  []
                  {
                      const VzCommon::KernelHandle event(CreateEventW(nullptr, FALSE, FALSE, nullptr));
                      ASSERT_TRUE(static_cast<bool>(event));
                      const VzCommon::FileHandle file(
                          CreateFileW(L"NUL", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
                      ASSERT_TRUE(static_cast<bool>(file));
                      WIN32_FIND_DATAW data{};
                      const VzCommon::FindHandle find(FindFirstFileW(L"C:\\windows\\*", &data));
                      ASSERT_TRUE(static_cast<bool>(find));
                      VzCommon::RegistryKey key;
                      ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, key.Put()), 0);
                      const VzCommon::MenuHandle menu(CreatePopupMenu());
                      ASSERT_TRUE(static_cast<bool>(menu));
                      const VzCommon::BitmapHandle bitmap(CreateBitmap(4, 4, 1, 1, nullptr));
                      ASSERT_TRUE(static_cast<bool>(bitmap));
                      const VzCommon::IconHandle icon(CopyIcon(LoadIconW(nullptr, IDI_ERROR)));
                      ASSERT_TRUE(static_cast<bool>(icon));
                      const VzCommon::ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, GENERIC_READ));
                      ASSERT_TRUE(static_cast<bool>(manager));
                  }),
              "");
}

TEST(UniqueHandleTest, FreesLibraries)
{
    ASSERT_EQ(GetModuleHandleW(L"lz32.dll"), nullptr);
    {
        const VzCommon::ModuleHandle module(LoadLibraryW(L"lz32.dll"));
        ASSERT_TRUE(static_cast<bool>(module));
    }
    EXPECT_EQ(GetModuleHandleW(L"lz32.dll"), nullptr);
}

TEST(UniqueHandleTest, FilesAreEmptyWithTheInvalidValue)
{
    EXPECT_FALSE(static_cast<bool>(VzCommon::FileHandle(
        CreateFileW(L"Z:\\no\\such\\file", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr))));
}

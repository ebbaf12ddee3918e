// What an engine library is built on.
#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

#include "Quenta.h"

namespace
{
// The slot of a virtual operation: a pointer to it holds its place in the table, and 1.
template <typename Operation>
std::size_t SlotOf(Operation operation)
{
    std::size_t place = 0;
    std::memcpy(&place, &operation, sizeof place);
    EXPECT_EQ(place % sizeof(void*), 1U);
    return (place - 1) / sizeof(void*);
}

// The destructor has the first two slots.
TEST(EngineInterfaceTest, TheOperationsStandInTheOrderOfTheContract)
{
    EXPECT_EQ(SlotOf(&ISpecialEngine::Perform), 2U);
    EXPECT_EQ(SlotOf(&ISpecialEngine::PerformFix), 3U);
    EXPECT_EQ(SlotOf(&ISpecialEngine::Query), 4U);
    EXPECT_EQ(SlotOf(&ISpecialEngine::QueryByKey), 5U);
    EXPECT_EQ(SlotOf(&ISpecialEngine::PutDetails), 6U);
    EXPECT_EQ(SlotOf(&ISpecialEngine::QueryFix), 7U);
    EXPECT_EQ(SlotOf(&ISpecialEngine::QueryFixDetail), 8U);
    EXPECT_EQ(SlotOf(&ISpecialEngine::Reserved1), 9U);
    EXPECT_EQ(SlotOf(&ISpecialEngine::Initialize), 10U);
    EXPECT_EQ(SlotOf(&ISpecialEngine::Reserved2), 11U);
    EXPECT_EQ(SlotOf(&ISpecialEngine::Signal), 12U);
}

TEST(EngineInterfaceTest, AnEngineIsItsBaseAtTheSameAddressWithNothingButTheTable)
{
    static_assert(sizeof(ISpecialEngine) == sizeof(void*));
    static_assert(std::is_base_of_v<IEngine, ISpecialEngine>);
    static_assert(std::has_virtual_destructor_v<IEngine>);
}
} // namespace

#include "ImportPatch.h"
#include "JsonTrees.h"

#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <new>

using QxCommon::JsonDb;
using TestSupport::ImportPatch;

namespace
{

constexpr std::uint32_t outOfMemory = 14;

std::atomic<long long> blocksAlive{0};
std::atomic<long long> failingAllocation{-1}; // counted down to 0; negative: none fails

template <typename Function>
Function* FromRuntime(const char* name)
{
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"msvcrt.dll"), name)));
}

// Taken before the program's own are replaced: the replacing allocates.
const auto trueMalloc = FromRuntime<decltype(std::malloc)>("malloc");
const auto trueFree = FromRuntime<decltype(std::free)>("free");

void* CountedMalloc(std::size_t size)
{
    if (failingAllocation >= 0 && failingAllocation-- == 0)
    {
        return nullptr;
    }
    ++blocksAlive;
    return trueMalloc(size);
}

void CountedFree(void* block)
{
    if (block != nullptr)
    {
        --blocksAlive;
    }
    trueFree(block);
}

// Takes over the program's memory, from which the trees live.
class JsonDbMemoryTest : public testing::Test
{
protected:
    ~JsonDbMemoryTest() override { failingAllocation = -1; }

    // Runs the operation over and over, each time with a later allocation failing, until none fails.
    static void WithEachAllocationFailing(const std::function<bool()>& succeeds)
    {
        for (long long failing = 0; failing < 10000; ++failing)
        {
            failingAllocation = failing;
            const bool isDone = succeeds();
            const bool hasFailed = failingAllocation < 0;
            failingAllocation = -1;
            EXPECT_NE(isDone, hasFailed) << failing;
            if (!hasFailed)
            {
                EXPECT_GT(failing, 0) << "it never needed memory";
                return;
            }
        }
        FAIL() << "it never ends";
    }

private:
    ImportPatch m_malloc{nullptr, "malloc", &CountedMalloc};
    ImportPatch m_free{nullptr, "free", &CountedFree};
};

const std::wstring sample = LR"({"a":[1,"text long enough to be no short string",{"b":-2.5}],"c":"\u00e4"})";

} // namespace

TEST_F(JsonDbMemoryTest, MakesNoTreeWithoutMemory)
{
    WithEachAllocationFailing(
        []
        {
            JsonDb tree;
            if (tree.LastError() == 0)
            {
                return tree.IsNull();
            }
            EXPECT_EQ(tree.LastError(), outOfMemory);
            EXPECT_EQ(tree.AsInt(), 0);
            EXPECT_EQ(tree.LastError(), 87U);
            return false;
        });
}

TEST_F(JsonDbMemoryTest, ReportsMissingMemoryOfEachOperationAsACode)
{
    JsonDb tree = Tree(sample);
    WithEachAllocationFailing(
        [&tree]
        {
            const std::uint32_t error = tree.ParseFromString(sample);
            EXPECT_TRUE(error == 0 || error == outOfMemory);
            return error == 0;
        });
    WithEachAllocationFailing([&tree] { return tree.ToFastString().size() > 1 && tree.LastError() == 0; });
    WithEachAllocationFailing([&tree] { return tree.ToStyledString().size() > 1 && tree.LastError() == 0; });

    JsonDb copy;
    WithEachAllocationFailing([&tree, &copy] { return copy.Assign(tree).LastError() == 0; });
    EXPECT_EQ(Text(copy), Text(tree));

    JsonDb text(tree[L"a"][1]);
    WithEachAllocationFailing([&text] { return !text.AsString().empty(); });
}

TEST_F(JsonDbMemoryTest, TellsMissingMemoryFromABadText)
{
    JsonDb tree;
    for (const std::wstring& bad : {std::wstring(1001, L'['), std::wstring(L"[1.5,1e999]")})
    {
        EXPECT_EQ(tree.ParseFromString(bad), 87U);
    }
    for (const std::wstring& bad :
         {std::wstring(L"[1.5,nonsense]"), std::wstring(L"{\"a long name of a member\" 1.5}")})
    {
        WithEachAllocationFailing([&tree, &bad] { return tree.ParseFromString(bad) == 87; });
    }
}

TEST_F(JsonDbMemoryTest, AnIndexThatFindsNoMemoryThrows)
{
    WithEachAllocationFailing(
        []
        {
            JsonDb tree;
            if (tree.LastError() != 0)
            {
                return false;
            }
            try
            {
                tree[L"a name that is too long for a short string"].SetInt(1);
                tree[L"list"][5].SetInt(2);
                return true;
            }
            catch (const std::bad_alloc&)
            {
                return false;
            }
        });
}

TEST_F(JsonDbMemoryTest, GivesBackEverythingAfterTenThousandParses)
{
    const auto round = [](bool isDeep)
    {
        JsonDb tree = Tree(sample);
        JsonDb own(tree[L"a"][2]);
        tree[L"new"][3].Assign(own);
        (void)tree.ToStyledString();
        tree.ParseFromString(L"{\"a\":[1,{\"b\":");
        tree.ParseFromString(std::wstring(isDeep ? 1001 : 10, L'['));
        (void)tree[L"x"][L"y"].AsString();
    };
    round(true);
    const long long before = blocksAlive;
    for (int i = 0; i < 10000; ++i)
    {
        round(i % 1000 == 0);
    }
    EXPECT_EQ(blocksAlive, before);
}

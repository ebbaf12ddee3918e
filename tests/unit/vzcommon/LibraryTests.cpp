#include "VzComn_Library.h"

#include "ImportPatch.h"
#include "ObjectCounts.h"
#include "TestProgram.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using TestSupport::ImportPatch;
using VzCommon::Library::Base;

std::wstring Probe(const wchar_t* file)
{
    return TestSupport::TestProgram(L"LibraryProbe", file);
}

BOOL WINAPI RefuseToFree(HMODULE /*module*/)
{
    SetLastError(ERROR_BUSY);
    return FALSE;
}

class LibraryTest : public testing::Test
{
protected:
    Base library;
    std::uint32_t error = 4711;
};

// A table of one export.
class OneExport : public VzCommon::Library::Wrapper
{
public:
    bool Bind(bool bind, std::uint32_t* error) override
    {
        function = nullptr;
        bound = bind && Resolve(L"Short", function, error);
        return bound || !bind;
    }

    int (*function)() = nullptr;
};

} // namespace

TEST_F(LibraryTest, LoadsAndUnloads)
{
    EXPECT_TRUE(library.Load(Probe(L"LibraryProbe.dll").c_str(), nullptr, &error));
    EXPECT_EQ(error, 0U);
    EXPECT_TRUE(library.IsLoaded());
    error = 4711;
    EXPECT_TRUE(library.Unload(&error));
    EXPECT_EQ(error, 0U);
    EXPECT_FALSE(library.IsLoaded());
    EXPECT_EQ(GetModuleHandleW(L"LibraryProbe.dll"), nullptr);
}

TEST_F(LibraryTest, IsFreedByTheDestructor)
{
    {
        Base shortLived;
        EXPECT_TRUE(shortLived.Load(Probe(L"LibraryProbe.dll").c_str(), nullptr, nullptr));
        EXPECT_NE(GetModuleHandleW(L"LibraryProbe.dll"), nullptr);
    }
    EXPECT_EQ(GetModuleHandleW(L"LibraryProbe.dll"), nullptr);
}

TEST_F(LibraryTest, RefusesANullName)
{
    EXPECT_FALSE(library.Load(nullptr, nullptr, &error));
    EXPECT_EQ(error, 160U);
}

TEST_F(LibraryTest, RefusesASecondLoadAndKeepsTheFirst)
{
    ASSERT_TRUE(library.Load(Probe(L"LibraryProbe.dll").c_str(), nullptr, nullptr));
    EXPECT_FALSE(library.Load(L"version.dll", nullptr, &error));
    EXPECT_EQ(error, 5010U);
    EXPECT_NE(library.Resolve(L"Short", nullptr), nullptr);
}

TEST_F(LibraryTest, LooksAtTheNameBeforeTheState)
{
    ASSERT_TRUE(library.Load(Probe(L"LibraryProbe.dll").c_str(), nullptr, nullptr));
    EXPECT_FALSE(library.Load(nullptr, nullptr, &error));
    EXPECT_EQ(error, 160U);
}

TEST_F(LibraryTest, ReportsAMissingFile)
{
    EXPECT_FALSE(library.Load(L"NoSuchLibrary.dll", nullptr, &error));
    EXPECT_EQ(error, 126U);
    EXPECT_FALSE(library.IsLoaded());
}

TEST_F(LibraryTest, ReportsAMissingDependency)
{
    EXPECT_FALSE(library.Load(Probe(L"DependentProbe.dll").c_str(), nullptr, &error));
    EXPECT_EQ(error, 126U);
}

TEST_F(LibraryTest, PassesOnTheErrorOfALibraryThatRefuses)
{
    EXPECT_FALSE(library.Load(Probe(L"RefusingProbe.dll").c_str(), nullptr, &error));
    EXPECT_EQ(error, 1114U);
}

TEST_F(LibraryTest, CanLoadAfterAFailure)
{
    EXPECT_FALSE(library.Load(L"NoSuchLibrary.dll", nullptr, &error));
    EXPECT_TRUE(library.Load(Probe(L"LibraryProbe.dll").c_str(), nullptr, &error));
    EXPECT_EQ(error, 0U);
}

TEST_F(LibraryTest, CannotUnloadNothing)
{
    EXPECT_FALSE(library.Unload(&error));
    EXPECT_EQ(error, 6U);
    EXPECT_FALSE(library.Unload(nullptr));
}

TEST_F(LibraryTest, StaysLoadedWhenTheSystemRefusesToFreeIt)
{
    ASSERT_TRUE(library.Load(Probe(L"LibraryProbe.dll").c_str(), nullptr, nullptr));
    {
        const ImportPatch patch(nullptr, "FreeLibrary", &RefuseToFree);
        EXPECT_FALSE(library.Unload(&error));
    }
    EXPECT_EQ(error, static_cast<std::uint32_t>(ERROR_BUSY));
    EXPECT_TRUE(library.IsLoaded());
    EXPECT_TRUE(library.Unload(&error));
}

TEST_F(LibraryTest, ResolvesNamesOfEveryLength)
{
    ASSERT_TRUE(library.Load(Probe(L"LibraryProbe.dll").c_str(), nullptr, nullptr));
    int (*function)() = nullptr;
    ASSERT_TRUE(library.Resolve(L"Short", function, &error));
    EXPECT_EQ(error, 0U);
    EXPECT_EQ(function(), 5);
    for (const int length : {127, 128, 240})
    {
        const std::wstring name(static_cast<size_t>(length), L'a');
        ASSERT_TRUE(library.Resolve(name.c_str(), function, &error)) << length;
        EXPECT_EQ(function(), length);
    }
}

TEST_F(LibraryTest, ReportsAMissingExport)
{
    ASSERT_TRUE(library.Load(Probe(L"LibraryProbe.dll").c_str(), nullptr, nullptr));
    int (*function)() = [] { return 1; };
    EXPECT_FALSE(library.Resolve(L"NoSuchExport", function, &error));
    EXPECT_EQ(function, nullptr);
    EXPECT_EQ(error, 127U);
    EXPECT_EQ(library.Resolve(std::wstring(5000, L'b').c_str(), &error), nullptr);
    EXPECT_EQ(error, 127U);
}

TEST_F(LibraryTest, ReportsAnUnusableName)
{
    ASSERT_TRUE(library.Load(Probe(L"LibraryProbe.dll").c_str(), nullptr, nullptr));
    EXPECT_EQ(library.Resolve(nullptr, &error), nullptr);
    EXPECT_EQ(error, 160U);
    error = 0;
    EXPECT_EQ(library.Resolve(L"", &error), nullptr);
    EXPECT_EQ(error, 160U);
}

TEST_F(LibraryTest, ResolvesNothingWithoutALibrary)
{
    EXPECT_EQ(library.Resolve(L"Short", &error), nullptr);
    EXPECT_EQ(error, 6U);
    EXPECT_EQ(library.Resolve(nullptr, nullptr), nullptr);
}

TEST_F(LibraryTest, LeavesNothingBehind)
{
    const std::wstring file = Probe(L"LibraryProbe.dll");
    EXPECT_EQ(TestSupport::GrowthOf(
                  [&]
                  {
                      Base probe;
                      EXPECT_TRUE(probe.Load(file.c_str(), nullptr, nullptr));
                      EXPECT_FALSE(probe.Load(L"NoSuchLibrary.dll", nullptr, nullptr));
                  }),
              "");
}

TEST(LibraryWrapperTest, BindsAndForgets)
{
    OneExport wrapper;
    std::uint32_t error = 0;
    EXPECT_FALSE(wrapper.Bind(true, &error));
    EXPECT_EQ(error, 6U);
    EXPECT_FALSE(wrapper.IsBound());

    ASSERT_TRUE(wrapper.Load(Probe(L"LibraryProbe.dll").c_str(), nullptr, nullptr));
    EXPECT_TRUE(wrapper.Bind(true, &error));
    EXPECT_TRUE(wrapper.IsBound());
    EXPECT_EQ(wrapper.function(), 5);

    EXPECT_TRUE(wrapper.Bind(false, &error));
    EXPECT_FALSE(wrapper.IsBound());
    EXPECT_EQ(wrapper.function, nullptr);
}

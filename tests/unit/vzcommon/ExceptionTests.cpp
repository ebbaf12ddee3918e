#include "VzComn_Exception.h"
#include "VzComn_SecurityAttributes.h"
#include "VzComn_String.h"
#include "VzComn_ThreadBase.h"

#include "Thrown.h"

#include <gtest/gtest.h>

namespace
{

using TestSupport::Thrown;

class Counted : public VzCommon::Exception::Base
{
public:
    using Base::Base;

    ~Counted() override { ++destroyed; }

    static inline int destroyed = 0;
};

// Its memory costs the last error.
class Clobbering : public VzCommon::Exception::Base
{
public:
    using Base::Base;

    static void* operator new(size_t size)
    {
        SetLastError(0);
        return ::operator new(size);
    }

    static void operator delete(void* memory) { ::operator delete(memory); }
};

} // namespace

TEST(ExceptionTest, CarriesItsCodeAndThePlaceOfTheThrow)
{
    const auto thrown = Thrown<VzCommon::Exception::Base>([] { VZ_THROW(VzCommon::String::Exception, 13); });
    constexpr unsigned throwLine = __LINE__ - 1;
    ASSERT_NE(thrown, nullptr);
    EXPECT_EQ(thrown->code, 13U);
    EXPECT_EQ(thrown->line, throwLine);
    EXPECT_NE(thrown->sourceFile.find("ExceptionTests.cpp"), std::string::npos);
}

TEST(ExceptionTest, CarriesTheErrorFromBeforeItsOwnAllocation)
{
    SetLastError(5);
    const auto thrown = Thrown<VzCommon::Exception::Base>([] { VZ_THROW(Clobbering, GetLastError()); });
    ASSERT_NE(thrown, nullptr);
    EXPECT_EQ(thrown->code, 5U);
}

TEST(ExceptionTest, IsDeletedThroughItsBase)
{
    const auto thrown = Thrown<VzCommon::Exception::Base>([] { VZ_THROW(Counted, 0); });
    EXPECT_EQ(Counted::destroyed, 0);
    delete new Counted(0, 0, "");
    EXPECT_EQ(Counted::destroyed, 1);
}

TEST(ExceptionTest, EveryKindIsCaughtByTheBase)
{
    using VzCommon::Exception::Base;
    EXPECT_NE(Thrown<Base>([] { VZ_THROW(VzCommon::Thread::Exception, 1); }), nullptr);
    EXPECT_NE(Thrown<Base>([] { VZ_THROW(VzCommon::AccessControl::Exception, 1); }), nullptr);
    EXPECT_NE(Thrown<Base>([] { VZ_THROW(VzCommon::String::Exception, 1); }), nullptr);
}

TEST(ExceptionTest, OfAccessControlHasADetail)
{
    const auto thrown = Thrown<VzCommon::AccessControl::Exception>(
        [] { VZ_THROW(VzCommon::AccessControl::Exception, 160, 3U); });
    ASSERT_NE(thrown, nullptr);
    EXPECT_EQ(thrown->code, 160U);
    EXPECT_EQ(thrown->detail, 3U);
}

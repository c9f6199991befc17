#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"

namespace
{
struct Seen
{
    int calls = 0;
    bool test = true;
    std::string file;
    int line = 0;
};
Seen sSeen;

void Record(bool test, char const* file, int line)
{
    ++sSeen.calls;
    sSeen.test = test;
    sSeen.file = file;
    sSeen.line = line;
}

void Throwing(bool, char const*, int)
{
    throw std::logic_error("handler");
}

// Puts back whatever handler was installed before the test.
class StHandler
{
public:
    explicit StHandler(Cmn_Assert::Handler h) : mPrevious(Cmn_Assert::SetHandler(h)) { sSeen = Seen(); }
    ~StHandler() { Cmn_Assert::SetHandler(mPrevious); }

private:
    Cmn_Assert::Handler mPrevious;
};
} // namespace

TEST(Cmn_Assert, WithoutHandlerThrowsRuntimeErrorNamingFileAndLine)
{
    StHandler none(nullptr);
    try
    {
        Cmn_Assert::HandleAssert(false, "Sys/Sys_File.cpp", 42);
        FAIL();
    }
    catch (std::runtime_error const& e)
    {
        EXPECT_STREQ(e.what(), "Assertion in \"Sys/Sys_File.cpp\", line 42");
    }
    EXPECT_THROW(CMN_ASSERT(1 + 1 == 3), std::runtime_error);
    int line = 0;
    try
    {
        line = __LINE__ + 1;
        CMN_ASSERT(false);
    }
    catch (std::runtime_error const& e)
    {
        EXPECT_EQ(std::string(e.what()), "Assertion in \"" __FILE__ "\", line " + std::to_string(line));
    }
}

TEST(Cmn_Assert, InstalledHandlerIsCalledAndTheCodeAfterGoesOn)
{
    StHandler record(&Record);
    int evaluated = 0;
    bool reachedAfter = false;
    CMN_ASSERT(++evaluated == 5);
    int const line = __LINE__ - 1;
    reachedAfter = true;
    EXPECT_TRUE(reachedAfter);
    EXPECT_EQ(evaluated, 1) << "the condition is evaluated once";
    EXPECT_EQ(sSeen.calls, 1);
    EXPECT_FALSE(sSeen.test);
    EXPECT_EQ(sSeen.file, __FILE__);
    EXPECT_EQ(sSeen.line, line);

    CMN_ASSERT(evaluated == 1);
    EXPECT_EQ(sSeen.calls, 1) << "a true condition does not reach the handler";

    // An assertion inside the library: adding a null context is refused.
    auto e = Cmn_TypedException<Cmn_NullExceptionData>::New(XC_Cmn_EndOfFile, Cmn_NullExceptionData());
    e.AddContext(nullptr);
    EXPECT_EQ(sSeen.calls, 2);
    EXPECT_TRUE(e.GetContextListBegin() == e.GetContextListEnd());
}

TEST(Cmn_Assert, SetHandlerReturnsThePreviousOne)
{
    StHandler first(&Record);
    EXPECT_EQ(Cmn_Assert::SetHandler(&Throwing), &Record);
    EXPECT_EQ(Cmn_Assert::SetHandler(&Record), &Throwing);
}

TEST(Cmn_Assert, ThrowingHandlerStopsTheCodeAfter)
{
    StHandler throwing(&Throwing);
    bool reachedAfter = false;
    try
    {
        CMN_ASSERT(false);
        reachedAfter = true;
    }
    catch (std::logic_error const&)
    {
    }
    EXPECT_FALSE(reachedAfter);
}

// The default assertion is not one of ours, so catch sites that annotate
// Cmn_Exception let it pass untouched.
TEST(Cmn_Assert, DefaultAssertionPassesContextBoundariesWithoutContexts)
{
    StHandler none(nullptr);
    bool annotated = false;
    try
    {
        try
        {
            CMN_ASSERT(false);
        }
        catch (Cmn_Exception& e)
        {
            annotated = true;
            Cmn_AddExceptionContext(&e, new Cmn_TypedExceptionContext<Cmn_TStringXData>(
                                            XC_Cmn_ExceptionContext, Cmn_TStringXData("while testing")));
            throw;
        }
    }
    catch (std::runtime_error const& e)
    {
        EXPECT_EQ(dynamic_cast<Cmn_Exception const*>(&e), nullptr);
        EXPECT_EQ(std::string(e.what()).rfind("Assertion in \"", 0), 0u);
    }
    EXPECT_FALSE(annotated);
}

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"

namespace
{
using testing::StrEq;
using testing::ThrowsMessage;

struct Seen
{
    int calls = 0;
    bool test = true;
    std::string file;
    int line = 0;
} sSeen;

void Record(bool test, char const* file, int line)
{
    sSeen = {sSeen.calls + 1, test, file, line};
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
    EXPECT_THAT([] { Cmn_Assert::HandleAssert(false, "Sys/Sys_File.cpp", 42); },
                ThrowsMessage<std::runtime_error>(StrEq("Assertion in \"Sys/Sys_File.cpp\", line 42")));
    EXPECT_THAT([] { Cmn_Assert::HandleAssert(false, "", -1); },
                ThrowsMessage<std::runtime_error>(StrEq("Assertion in \"\", line -1")));
    // It is not one of ours, so catch sites that annotate Cmn_Exception let
    // it pass untouched. (That the library names its source as the tree has
    // it is seen with a handler installed.)
    try
    {
        CMN_ASSERT(1 + 1 == 3);
        ADD_FAILURE() << "no exception";
    }
    catch (Cmn_Exception const&)
    {
        ADD_FAILURE() << "caught as one of ours";
    }
    catch (std::runtime_error const&)
    {
    }
}

TEST(Cmn_Assert, InstalledHandlerIsCalledAndTheCodeAfterGoesOn)
{
    StHandler record(&Record);
    int evaluated = 0;
    CMN_ASSERT(++evaluated == 5);
    int const line = __LINE__ - 1;
    bool const reachedAfter = true;
    EXPECT_TRUE(reachedAfter);
    EXPECT_EQ(evaluated, 1) << "the condition is evaluated once";
    EXPECT_EQ(sSeen.calls, 1);
    EXPECT_FALSE(sSeen.test);
    // Named from the top of the source tree, wherever the tree was built.
    EXPECT_EQ(sSeen.file, "tests/Cmn/Cmn_AssertTest.cpp");
    EXPECT_EQ(sSeen.line, line);

    CMN_ASSERT(evaluated == 1);
    EXPECT_EQ(sSeen.calls, 1) << "a true condition does not reach the handler";

    // An assertion inside the library: a null context is refused, nothing added.
    auto e = Cmn_TypedException<Cmn_NullExceptionData>::New(XC_Cmn_EndOfFile, Cmn_NullExceptionData());
    e.AddContext(nullptr);
    EXPECT_EQ(sSeen.calls, 2);
    EXPECT_EQ(sSeen.file, "Cmn/Cmn_Exception.cpp");
    EXPECT_TRUE(e.GetContextListBegin() == e.GetContextListEnd());

    // A handler that throws stops the code after.
    EXPECT_EQ(Cmn_Assert::SetHandler(&Throwing), &Record);
    bool reachedAfterThrow = false;
    try
    {
        CMN_ASSERT(false);
        reachedAfterThrow = true;
    }
    catch (std::logic_error const&)
    {
    }
    EXPECT_FALSE(reachedAfterThrow);
    EXPECT_EQ(Cmn_Assert::SetHandler(&Record), &Throwing);
}

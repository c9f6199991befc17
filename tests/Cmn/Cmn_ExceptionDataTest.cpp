#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "Cmn/Cmn_Exception.h"
#include "Cmn/DAW_ThrowIfOSErr.h"
#include "Sys/Sys_ThrowIfOSErr.h"

namespace
{
std::string Print(Cmn_ExceptionData const& data, std::string const& name)
{
    std::ostringstream os;
    data.PrintAttr(name, os);
    return os.str();
}
} // namespace

TEST(Cmn_ExceptionData, EachRecordAnswersItsAttributeOnly)
{
    struct Case
    {
        char const* what;
        std::shared_ptr<Cmn_ExceptionData> data;
        char const* name;
        char const* expected;
    };
    Case const cases[] = {
        {"null", std::make_shared<Cmn_NullExceptionData>(), "str", ""},
        {"string", std::make_shared<Cmn_TStringXData>("a <b>"), "str", "a <b>"},
        {"string, other name", std::make_shared<Cmn_TStringXData>("a"), "value", ""},
        {"sys int", std::make_shared<Sys_Int32ErrData>(-5), "value", "-5"},
        {"sys int, other name", std::make_shared<Sys_Int32ErrData>(-5), "err", ""},
        {"daw int", std::make_shared<DAW_Int32ErrData>(2147483647), "value", "2147483647"},
        {"sys os known", std::make_shared<Sys_OSErrData>(ENOENT), "err", "2: No such file or directory"},
        {"sys os zero", std::make_shared<Sys_OSErrData>(0), "err", "0: Success"},
        {"sys os no name", std::make_shared<Sys_OSErrData>(4000), "err", "4000: Unknown error"},
        {"sys os negative", std::make_shared<Sys_OSErrData>(-5), "err", "-5"},
        {"sys os lowest", std::make_shared<Sys_OSErrData>(-2147483647 - 1), "err", "-2147483648"},
        {"sys os, other name", std::make_shared<Sys_OSErrData>(ENOENT), "value", ""},
        {"daw os known", std::make_shared<DAW_OSErrData>(EACCES), "err", "Permission denied"},
        {"daw os no name", std::make_shared<DAW_OSErrData>(4000), "err", ""},
        {"daw os negative", std::make_shared<DAW_OSErrData>(-5), "err", ""},
        {"ma os", std::make_shared<MA_OSErrData>(ENOENT), "err", "2: No such file or directory"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Print(*c.data, c.name), c.expected);
    }
}

TEST(Cmn_ExceptionData, SystemTextsInTheirTemplates)
{
    struct Case
    {
        std::shared_ptr<Cmn_Exception> e;
        char const* expected;
    };
    Case const cases[] = {
        {std::make_shared<Cmn_TypedException<Sys_OSErrData>>(
             Cmn_TypedException<Sys_OSErrData>::New(XC_Sys_SystemError, Sys_OSErrData(-5))),
         "Sys: OSErr: -5"},
        {std::make_shared<Cmn_TypedException<Sys_OSErrData>>(
             Cmn_TypedException<Sys_OSErrData>::New(XC_Sys_SystemError, Sys_OSErrData(4000))),
         "Sys: OSErr: 4000: Unknown error"},
        {std::make_shared<Cmn_TypedException<DAW_OSErrData>>(
             Cmn_TypedException<DAW_OSErrData>::New(XC_DAW_SystemError, DAW_OSErrData(EACCES))),
         "Permission denied"},
        // No text at all: the placeholder stays standing.
        {std::make_shared<Cmn_TypedException<DAW_OSErrData>>(
             Cmn_TypedException<DAW_OSErrData>::New(XC_DAW_SystemError, DAW_OSErrData(4000))),
         "<err>"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.expected);
        EXPECT_STREQ(c.e->what(), c.expected);
    }
}

TEST(Cmn_ExceptionData, ThrowIfOSErrThrowsOnlyForAFailure)
{
    struct Case
    {
        std::int32_t err;
        std::optional<std::int32_t> result;
        bool throws;
    };
    Case const cases[] = {
        {0, std::nullopt, false}, {5, std::nullopt, true}, {-1, std::nullopt, true},
        {5, 1, false},            {5, 0, true},            {0, 0, false},
        {5, -1, false},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "err " << c.err << " result " << (c.result ? *c.result : 999));
        try
        {
            if (c.result)
                Sys_ThrowIfOSErr(c.err, *c.result);
            else
                Sys_ThrowIfOSErr(c.err);
            EXPECT_FALSE(c.throws);
        }
        catch (Cmn_TypedException<Sys_OSErrData> const& e)
        {
            EXPECT_TRUE(c.throws);
            EXPECT_TRUE(e.GetCode() == XC_Sys_SystemError);
            EXPECT_EQ(e.GetData().GetErr(), c.err);
        }
    }
}

TEST(Cmn_ExceptionData, DAWThrowIfOSErrThrowsOnlyForANullResult)
{
    int handle = 0;
    struct Case
    {
        std::int32_t err;
        void const* result;
        bool throws;
    };
    Case const cases[] = {{5, nullptr, true}, {5, &handle, false}, {0, nullptr, false}, {0, &handle, false}};
    for (Case const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "err " << c.err << " null " << (c.result == nullptr));
        try
        {
            DAW_ThrowIfOSErr(c.err, c.result);
            EXPECT_FALSE(c.throws);
        }
        catch (Cmn_TypedException<DAW_OSErrData> const& e)
        {
            EXPECT_TRUE(c.throws);
            EXPECT_TRUE(e.GetCode() == XC_DAW_SystemError);
            EXPECT_EQ(e.GetData().GetErr(), c.err);
        }
    }
}

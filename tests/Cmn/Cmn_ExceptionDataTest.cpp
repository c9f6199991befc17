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
template <class T> std::string Attr(T const& data, std::string const& name)
{
    std::ostringstream os;
    data.PrintAttr(name, os);
    return os.str();
}

template <class T> std::string Text(XC_TypedExceptionCode<T> const& code, T const& data)
{
    return Cmn_TypedException<T>::New(code, data).what();
}
} // namespace

TEST(Cmn_ExceptionData, EachRecordAnswersItsAttributeOnly)
{
    struct Case
    {
        std::string printed;
        char const* expected;
    };
    Case const cases[] = {
        {Attr(Cmn_NullExceptionData(), "str"), ""},
        {Attr(Cmn_TStringXData("a <b>"), "str"), "a <b>"},
        {Attr(Cmn_TStringXData("a"), "value"), ""},
        {Attr(Sys_Int32ErrData(-5), "value"), "-5"},
        {Attr(Sys_Int32ErrData(-5), "err"), ""},
        {Attr(DAW_Int32ErrData(2147483647), "value"), "2147483647"},
        {Attr(Sys_OSErrData(ENOENT), "err"), "2: No such file or directory"},
        {Attr(Sys_OSErrData(0), "err"), "0: Success"},
        {Attr(Sys_OSErrData(4000), "err"), "4000: Unknown error"},
        {Attr(Sys_OSErrData(-5), "err"), "-5"},
        {Attr(Sys_OSErrData(-2147483647 - 1), "err"), "-2147483648"},
        {Attr(Sys_OSErrData(ENOENT), "value"), ""},
        {Attr(DAW_OSErrData(EACCES), "err"), "Permission denied"},
        {Attr(DAW_OSErrData(4000), "err"), ""},
        {Attr(DAW_OSErrData(-5), "err"), ""},
        {Attr(MA_OSErrData(ENOENT), "err"), "2: No such file or directory"},
        // In their templates; with no text at all the placeholder stays.
        {Text(XC_Sys_SystemError, Sys_OSErrData(-5)), "Sys: OSErr: -5"},
        {Text(XC_Sys_SystemError, Sys_OSErrData(4000)), "Sys: OSErr: 4000: Unknown error"},
        {Text(XC_DAW_SystemError, DAW_OSErrData(EACCES)), "Permission denied"},
        {Text(XC_DAW_SystemError, DAW_OSErrData(4000)), "<err>"},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
    {
        SCOPED_TRACE(testing::Message() << "case " << i);
        EXPECT_EQ(cases[i].printed, cases[i].expected);
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
    Case const cases[] = {{0, std::nullopt, false},
                          {5, std::nullopt, true},
                          {-1, std::nullopt, true},
                          {5, 1, false},
                          {5, 0, true},
                          {0, 0, false},
                          {5, -1, false}};
    for (Case const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "err " << c.err << " result " << c.result.value_or(999));
        try
        {
            c.result ? Sys_ThrowIfOSErr(c.err, *c.result) : Sys_ThrowIfOSErr(c.err);
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

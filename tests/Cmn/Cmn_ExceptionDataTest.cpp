#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
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

// The error number of the system error that action throws, of either
// family; nothing if it throws nothing.
template <class Data>
std::optional<std::int32_t> ErrOf(XC_TypedExceptionCode<Data> const& code, std::function<void()> const& action)
{
    try
    {
        action();
    }
    catch (Cmn_TypedException<Data> const& e)
    {
        return e.GetCode() == code ? e.GetData().GetErr() : -999;
    }
    return std::nullopt;
}

// Sys_ThrowIfOSErr throws for an error, unless a result says the call
// worked; DAW_ThrowIfOSErr only for a null result.
TEST(Cmn_ExceptionData, ThrowIfOSErrThrowsOnlyForAFailure)
{
    int handle = 0;
    struct Case
    {
        char const* name;
        std::function<void()> action;
        std::optional<std::int32_t> thrown;
    };
    Case const cases[] = {
        {"no error", [] { Sys_ThrowIfOSErr(0); }, std::nullopt},
        {"an error", [] { Sys_ThrowIfOSErr(5); }, 5},
        {"a negative error", [] { Sys_ThrowIfOSErr(-1); }, -1},
        {"an error and result 1", [] { Sys_ThrowIfOSErr(5, 1); }, std::nullopt},
        {"an error and result 0", [] { Sys_ThrowIfOSErr(5, 0); }, 5},
        {"no error and result 0", [] { Sys_ThrowIfOSErr(0, 0); }, std::nullopt},
        {"an error and result -1", [] { Sys_ThrowIfOSErr(5, -1); }, std::nullopt},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(ErrOf(XC_Sys_SystemError, c.action), c.thrown);
    }
    Case const daw[] = {
        {"an error and no result", [] { DAW_ThrowIfOSErr(5, nullptr); }, 5},
        {"an error and a result", [&] { DAW_ThrowIfOSErr(5, &handle); }, std::nullopt},
        {"no error and no result", [] { DAW_ThrowIfOSErr(0, nullptr); }, std::nullopt},
        {"no error and a result", [&] { DAW_ThrowIfOSErr(0, &handle); }, std::nullopt},
    };
    for (Case const& c : daw)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(ErrOf(XC_DAW_SystemError, c.action), c.thrown);
    }
}

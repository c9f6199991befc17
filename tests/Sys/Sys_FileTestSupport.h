// Helpers of the tests of the file layer: start-up, catching the system
// error with its errno, and putting test functions into the file system
// call table.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_FilePosixCalls.h"
#include "Sys/Sys_Init.h"

namespace vfltest
{

// The errno carried by the XC_Sys_SystemError that fn throws; 0 if it
// throws nothing, -1 if it throws something else.
inline int SystemErrorOf(std::function<void()> const& fn)
{
    try
    {
        fn();
    }
    catch (Cmn_TypedException<Sys_OSErrData> const& e)
    {
        return e.GetCode() == XC_Sys_SystemError ? e.GetData().GetErr() : -1;
    }
    catch (...)
    {
        return -1;
    }
    return 0;
}

// True if fn throws a Cmn_Exception with this code.
inline bool ThrowsCode(std::function<void()> const& fn, XC_BaseExceptionCode const& code)
{
    try
    {
        fn();
    }
    catch (Cmn_Exception const& e)
    {
        return e.GetCode() == code;
    }
    catch (...)
    {
    }
    return false;
}

// Puts the real table back at the end of a test that changed it.
class StFilePosixCalls
{
public:
    StFilePosixCalls() : mSaved(Sys_FilePosixCalls::Current()) {}
    ~StFilePosixCalls() { Sys_FilePosixCalls::Current() = mSaved; }
    Sys_FilePosixCalls& Calls() { return Sys_FilePosixCalls::Current(); }

private:
    Sys_FilePosixCalls mSaved;
};

class SysLayerTest : public ::testing::Test
{
protected:
    void SetUp() override { Sys_Init::Init(); }
};

} // namespace vfltest

// Helpers of the tests of the file layer: start-up, catching the system
// error with its errno, and putting test functions into the file system
// call table.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_FilePosixCalls.h"
#include "Sys/Sys_FileType.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Utils.h"

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

// Four-character codes as numbers, first character highest.
constexpr int32 MacCode(char const (&code)[5])
{
    return static_cast<int32>((static_cast<uint32>(static_cast<unsigned char>(code[0])) << 24) |
                              (static_cast<uint32>(static_cast<unsigned char>(code[1])) << 16) |
                              (static_cast<uint32>(static_cast<unsigned char>(code[2])) << 8) |
                              static_cast<uint32>(static_cast<unsigned char>(code[3])));
}

// The types a host registers at start-up, as the tests' host: wav and aif
// with their Macintosh codes. Registered once per test process, before any
// test makes a location.
inline void RegisterTestTypes()
{
    static std::once_flag once;
    std::call_once(once,
                   []
                   {
                       std::vector<Sys_FileType> types = {Sys_FileType("wav"), Sys_FileType("aif"),
                                                          Sys_FileType(MacCode("WAVE")), Sys_FileType(MacCode("AIFF"))};
                       std::vector<std::string> descriptions = {"Wave", "AIFF", "Wave", "AIFF"};
                       Sys_Utils::RegisterKnownTypes(types, descriptions);
                       std::vector<Sys_FileType> wave = {Sys_FileType("wav"), Sys_FileType(MacCode("WAVE"))};
                       Sys_Utils::RegisterEquivalentTypes(wave);
                       std::vector<Sys_FileType> aiff = {Sys_FileType("aif"), Sys_FileType(MacCode("AIFF"))};
                       Sys_Utils::RegisterEquivalentTypes(aiff);
                   });
}

class SysLayerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Sys_Init::Init();
        RegisterTestTypes();
    }
};

} // namespace vfltest

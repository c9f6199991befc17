// Helpers of the tests of the system layer: start-up, a temporary folder,
// catching the system error with its errno, counting assertions, putting
// test functions into the file system call table, and the bytes of files.
#pragma once

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_FilePosixCalls.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileType.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Utils.h"
#include "support/TestSupport.h"

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

// While alive, failed assertions are counted instead of thrown.
class StCountAsserts
{
public:
    StCountAsserts() : mPrevious(Cmn_Assert::SetHandler(&Count)) { sCount = 0; }
    ~StCountAsserts() { Cmn_Assert::SetHandler(mPrevious); }
    int Failed() const { return sCount.load(); }

private:
    static void Count(bool, char const*, int) { ++sCount; }
    static inline std::atomic<int> sCount{0};
    Cmn_Assert::Handler mPrevious;
};

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

// A file system mounted on a folder it makes, for the length of a test;
// only root can.
class StMount
{
public:
    StMount(std::string const& what, std::string const& where) : mWhere(where)
    {
        std::filesystem::create_directories(where);
        mMounted = RunCommand("mount " + what + " '" + where + "' 2>/dev/null") == 0;
    }
    ~StMount()
    {
        if (mMounted)
            RunCommand("umount '" + mWhere + "'");
    }
    bool Mounted() const { return mMounted; }

private:
    std::string mWhere;
    bool mMounted = false;
};

// Runs fn in a child process as a user without privileges, as root reads
// and writes anything: fn's exit status, or -1 if root cannot drop them.
inline int RunUnprivileged(std::function<int()> const& fn)
{
    pid_t const child = ::fork();
    if (child == 0)
    {
        if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
            ::_exit(255);
        ::_exit(fn());
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status))
        return -2;
    return WEXITSTATUS(status) == 255 ? -1 : WEXITSTATUS(status);
}

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

// Bytes that differ from one position to the next, the same for a seed.
inline std::vector<std::uint8_t> Pattern(size_t size, unsigned seed = 7)
{
    std::vector<std::uint8_t> bytes(size);
    unsigned x = seed;
    for (auto& b : bytes)
    {
        x = x * 1103515245u + 12345u;
        b = static_cast<std::uint8_t>(x >> 16);
    }
    return bytes;
}

// The 32 bytes of Finder info: type and creator ("AIFFNuvo"), the flags
// big-endian, the rest zero.
inline std::vector<std::uint8_t> FinderInfo(char const* typeAndCreator, std::uint16_t flags = 0)
{
    std::vector<std::uint8_t> b(typeAndCreator, typeAndCreator + 8);
    b.push_back(static_cast<std::uint8_t>(flags >> 8));
    b.push_back(static_cast<std::uint8_t>(flags));
    b.resize(32, 0);
    return b;
}

// An AppleDouble sidecar ("._NAME") holding this Finder info and, if given,
// a resource fork.
inline std::vector<std::uint8_t> AppleDouble(std::vector<std::uint8_t> const& finderInfo,
                                             std::vector<std::uint8_t> const& fork = {})
{
    std::vector<std::uint8_t> b = {0x00, 0x05, 0x16, 0x07, 0x00, 0x02, 0x00, 0x00};
    b.resize(24, 0);
    std::uint32_t const count = fork.empty() ? 1 : 2;
    auto put = [&](std::uint32_t v, int bytes)
    {
        for (int s = 8 * (bytes - 1); s >= 0; s -= 8)
            b.push_back(static_cast<std::uint8_t>(v >> s));
    };
    put(count, 2);
    std::uint32_t const infoAt = 26 + 12 * count;
    put(9, 4), put(infoAt, 4), put(32, 4);
    if (count == 2)
        put(2, 4), put(infoAt + 32, 4), put(static_cast<std::uint32_t>(fork.size()), 4);
    b.insert(b.end(), finderInfo.begin(), finderInfo.end());
    b.insert(b.end(), fork.begin(), fork.end());
    return b;
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

// A test with a temporary folder of its own.
class SysFolderTest : public SysLayerTest
{
protected:
    // The folder's canonical path, with its trailing '/'.
    std::string Dir() const { return std::filesystem::canonical(mDir.Path()).string() + "/"; }
    Sys_FileLoc Loc(std::string const& rest) const { return Sys_FileLoc(Dir() + rest); }

    TempDir mDir;
};

} // namespace vfltest

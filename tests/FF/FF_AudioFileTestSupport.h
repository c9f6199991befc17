// Shared by the tests of FF_AudioFile and its utilities: what an operation
// throws, and a small disk that fills up.
#pragma once

#include "Cmn/Cmn_Exception.h"
#include "Sys/Sys_OSErrData.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <optional>

namespace fftest
{
// The code of what f throws, or nothing.
inline std::optional<XC_BaseExceptionCode> CodeOf(std::function<void()> const& f)
{
    try
    {
        f();
    }
    catch (Cmn_Exception const& e)
    {
        return e.GetCode();
    }
    return std::nullopt;
}

// The system error f throws, or nothing.
inline std::optional<int32> ErrnoOf(std::function<void()> const& f)
{
    try
    {
        f();
    }
    catch (Cmn_TypedException<Sys_OSErrData> const& e)
    {
        return e.GetData().GetErr();
    }
    return std::nullopt;
}

// A tmpfs of 256 KiB mounted in a folder of dir for as long as the object
// lives; Mounted() is false where the test may not mount one.
class SmallDisk
{
public:
    explicit SmallDisk(vfltest::TempDir const& dir) : mPath(dir.File("small"))
    {
        std::filesystem::create_directory(mPath);
        mMounted = vfltest::RunCommand("mount -t tmpfs -o size=256k tmpfs " + mPath + " 2>/dev/null") == 0;
    }
    ~SmallDisk()
    {
        if (mMounted)
            vfltest::RunCommand("umount " + mPath);
    }
    bool Mounted() const { return mMounted; }
    std::string File(std::string const& name) const { return mPath + "/" + name; }

private:
    std::string mPath;
    bool mMounted = false;
};
} // namespace fftest

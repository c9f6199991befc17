#include "Sys/Posix/Sys_OSErrTextPosix.h"

#include <string.h>

#include "Sys/Sys_OSErrData.h"

namespace
{
// strerror_r comes in two shapes depending on the feature macros; these
// overloads take whichever the C library declares.
[[maybe_unused]] char const* ErrTextFrom(int result, char const* buffer)
{
    return result == 0 ? buffer : nullptr;
}
[[maybe_unused]] char const* ErrTextFrom(char const* result, char const*)
{
    return result;
}

struct InstallAtLoad
{
    InstallAtLoad() { Sys_OSErrTextPosix::SetPlatformDependentMethods(); }
} sInstallAtLoad;
} // namespace

void Sys_OSErrTextPosix::SetPlatformDependentMethods()
{
    Sys_OSErrData::SetGetOSErrTextMethod(&Sys_OSErrTextPosix::GetOSErrText);
}

bool Sys_OSErrTextPosix::GetOSErrText(std::int32_t err, std::string& text)
{
    // strerror_r invents "Unknown error N" for numbers it does not know;
    // only a number that has a symbolic name has a real text.
    if (err < 0 || strerrorname_np(err) == nullptr)
        return false;
    char buffer[256] = {};
    char const* message = ErrTextFrom(strerror_r(err, buffer, sizeof buffer), buffer);
    if (message == nullptr || *message == '\0')
        return false;
    text = message;
    return true;
}

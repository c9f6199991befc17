#pragma once

#include <cstdint>
#include <string>

// Texts of errno values, from the C library.
class Sys_OSErrTextPosix
{
public:
    // Installs GetOSErrText into Sys_OSErrData. Also done when the library
    // loads, so that exceptions read well before the platform layer is set up.
    static void SetPlatformDependentMethods();

    // False for a number that the C library has no name for.
    static bool GetOSErrText(std::int32_t err, std::string& text);
};

#pragma once

#include <cstdint>

// Throws XC_Sys_SystemError with Sys_OSErrData(err) when err is not 0.
void Sys_ThrowIfOSErr(std::int32_t err);

// For calls that report failure by a zero result and the reason through the
// system's last error: throws only when err is not 0 and result is 0.
void Sys_ThrowIfOSErr(std::int32_t err, std::int32_t result);

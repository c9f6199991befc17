#pragma once

#include <cstdint>

// For calls that return a null handle on failure: throws XC_DAW_SystemError
// with DAW_OSErrData(err) when err is not 0 and result is null.
void DAW_ThrowIfOSErr(std::int32_t err, void const* result);

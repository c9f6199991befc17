#include "Cmn/DAW_ThrowIfOSErr.h"

#include "Cmn/Cmn_Exception.h"

void DAW_ThrowIfOSErr(std::int32_t err, void const* result)
{
    if (err != 0 && result == nullptr)
        throw Cmn_TypedException<DAW_OSErrData>::New(XC_DAW_SystemError, DAW_OSErrData(err));
}

#include "Sys/Sys_ThrowIfOSErr.h"

#include "Cmn/Cmn_Exception.h"

void Sys_ThrowIfOSErr(std::int32_t err)
{
    if (err != 0)
        throw Cmn_TypedException<Sys_OSErrData>::New(XC_Sys_SystemError, Sys_OSErrData(err));
}

void Sys_ThrowIfOSErr(std::int32_t err, std::int32_t result)
{
    if (result == 0)
        Sys_ThrowIfOSErr(err);
}

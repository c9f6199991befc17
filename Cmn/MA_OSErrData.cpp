#include "Cmn/MA_OSErrData.h"

#include "Sys/Sys_OSErrData.h"

void MA_OSErrData::PrintAttr(std::string const& name, std::ostream& os) const
{
    Sys_OSErrData(mErr).PrintAttr(name, os);
}

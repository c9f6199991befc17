#include "Cmn/DAW_OSErrData.h"

#include <ostream>

#include "Sys/Sys_OSErrData.h"

void DAW_OSErrData::PrintAttr(std::string const& name, std::ostream& os) const
{
    if (name != "err")
        return;
    std::string text;
    if (Sys_OSErrData::GetOSErrText(mErr, text))
        os << text;
}

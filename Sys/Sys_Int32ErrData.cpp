#include "Sys/Sys_Int32ErrData.h"

#include <ostream>

void Sys_Int32ErrData::PrintAttr(std::string const& name, std::ostream& os) const
{
    if (name == "value")
        os << mValue;
}

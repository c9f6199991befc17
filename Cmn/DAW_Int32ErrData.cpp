#include "Cmn/DAW_Int32ErrData.h"

#include <ostream>

void DAW_Int32ErrData::PrintAttr(std::string const& name, std::ostream& os) const
{
    if (name == "value")
        os << mValue;
}

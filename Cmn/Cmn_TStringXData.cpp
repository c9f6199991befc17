#include "Cmn/Cmn_TStringXData.h"

#include <ostream>

void Cmn_TStringXData::PrintAttr(std::string const& name, std::ostream& os) const
{
    if (name == "str")
        os << mString;
}

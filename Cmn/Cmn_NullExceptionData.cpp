#include "Cmn/Cmn_NullExceptionData.h"

void Cmn_NullExceptionData::PrintAttr(std::string const&, std::ostream&) const {}

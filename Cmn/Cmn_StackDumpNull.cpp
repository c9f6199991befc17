#include "Cmn/Cmn_StackDumpNull.h"

void Cmn_StackDumpNull::Print(std::ostream&) const {}

Cmn_StackDump* Cmn_StackDumpNull::Clone() const
{
    return new Cmn_StackDumpNull();
}

#pragma once

#include "Cmn/Cmn_StackDump.h"

// The dump of an exception made while no capturing method is installed.
class Cmn_StackDumpNull : public Cmn_StackDump
{
public:
    Cmn_StackDumpNull() = default;
    void Print(std::ostream& os) const override;
    Cmn_StackDump* Clone() const override;
};

#pragma once

#include "Cmn/Cmn_ExceptionData.h"

// The record of codes whose text has no placeholders to fill.
class Cmn_NullExceptionData : public Cmn_ExceptionData
{
public:
    Cmn_NullExceptionData() = default;
    void PrintAttr(std::string const& name, std::ostream& os) const override;
};

#pragma once

#include <string>
#include <utility>

#include "Cmn/Cmn_ExceptionData.h"

// A record of one text, answered as "str".
class Cmn_TStringXData : public Cmn_ExceptionData
{
public:
    explicit Cmn_TStringXData(std::string str) : mString(std::move(str)) {}

    std::string const& GetString() const noexcept { return mString; }
    void PrintAttr(std::string const& name, std::ostream& os) const override;

private:
    std::string mString;
};

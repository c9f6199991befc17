#pragma once

#include <cstdint>

#include "Cmn/Cmn_ExceptionData.h"

// The record of XC_MA_SystemErrorWithMessage, a code that a neighbouring
// library throws; it reads like Sys_OSErrData so that the text is useful
// should a template ever ask for "err".
class MA_OSErrData : public Cmn_ExceptionData
{
public:
    explicit MA_OSErrData(std::int32_t err = 0) noexcept : mErr(err) {}

    std::int32_t GetErr() const noexcept { return mErr; }
    void PrintAttr(std::string const& name, std::ostream& os) const override;

private:
    std::int32_t mErr;
};

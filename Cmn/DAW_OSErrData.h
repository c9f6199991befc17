#pragma once

#include <cstdint>

#include "Cmn/Cmn_ExceptionData.h"

// A system error number for the application layer, answered as "err" with
// the system's text alone: no number, and nothing when there is no text.
class DAW_OSErrData : public Cmn_ExceptionData
{
public:
    explicit DAW_OSErrData(std::int32_t err) noexcept : mErr(err) {}

    std::int32_t GetErr() const noexcept { return mErr; }
    void PrintAttr(std::string const& name, std::ostream& os) const override;

private:
    std::int32_t mErr;
};

#pragma once

#include <cstdint>

#include "Cmn/Cmn_ExceptionData.h"

// A signed 32-bit value for the application layer's codes, answered as "value".
class DAW_Int32ErrData : public Cmn_ExceptionData
{
public:
    explicit DAW_Int32ErrData(std::int32_t value) noexcept : mValue(value) {}

    std::int32_t GetValue() const noexcept { return mValue; }
    void PrintAttr(std::string const& name, std::ostream& os) const override;

private:
    std::int32_t mValue;
};

#pragma once

#include <cstdint>
#include <string>

#include "Cmn/Cmn_ExceptionData.h"

// A system error number, answered as "err": the number, then ": " and the
// system's text for it (": Unknown error" when the system has none). A
// negative number is not a system error number and prints bare.
class Sys_OSErrData : public Cmn_ExceptionData
{
public:
    // Fills text with the system's text for err; false when it has none.
    using GetOSErrTextMethod = bool (*)(std::int32_t err, std::string& text);

    explicit Sys_OSErrData(std::int32_t err) noexcept : mErr(err) {}

    std::int32_t GetErr() const noexcept { return mErr; }
    void PrintAttr(std::string const& name, std::ostream& os) const override;

    // The platform's source of error texts; none installed means no texts.
    static void SetGetOSErrTextMethod(GetOSErrTextMethod method) noexcept;
    static bool GetOSErrText(std::int32_t err, std::string& text);

private:
    std::int32_t mErr;
};

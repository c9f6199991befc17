#pragma once

#include "Cmn/XC_BaseExceptionCode.h"

// A code that can only be thrown with a data record of type T, the record
// whose attributes fill the template's placeholders.
template <class T> class XC_TypedExceptionCode : public XC_BaseExceptionCode
{
public:
    constexpr explicit XC_TypedExceptionCode(char const* messageTemplate) noexcept
        : XC_BaseExceptionCode(messageTemplate)
    {
    }
};

#pragma once

#include "Cmn/Cmn_ExceptionDescription.h"
#include "Cmn/XC_TypedExceptionCode.h"

// What was under way when an exception passed by: added to the exception
// by the catch site with Cmn_AddExceptionContext.
template <class T> class Cmn_TypedExceptionContext : public Cmn_ExceptionDescription
{
public:
    Cmn_TypedExceptionContext(XC_TypedExceptionCode<T> const& code, T const& data)
        : Cmn_ExceptionDescription(code, nullptr), mData(data)
    {
    }

    T const& GetData() const noexcept { return mData; }
    void PrintAttr(std::string const& name, std::ostream& os) const override { mData.PrintAttr(name, os); }

private:
    T mData;
};

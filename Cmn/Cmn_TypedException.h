#pragma once

#include <memory>

#include "Cmn/Cmn_Exception.h"
#include "Cmn/XC_TypedExceptionCode.h"

// An exception with its record. Throw sites make one with New and throw it
// by value.
template <class T> class Cmn_TypedException : public Cmn_Exception
{
public:
    // When dump is null the stack is captured by Cmn_StackDump::Create().
    // Takes ownership of dump.
    static Cmn_TypedException New(XC_TypedExceptionCode<T> const& code, T const& data, Cmn_StackDump* dump = nullptr)
    {
        std::unique_ptr<Cmn_StackDump> owned(dump);
        if (!owned)
            owned.reset(Cmn_StackDump::Create());
        return Cmn_TypedException(code, data, owned.release());
    }

    T const& GetData() const noexcept { return mData; }

    void PrintAttr(std::string const& name, std::ostream& os) const override { mData.PrintAttr(name, os); }
    Cmn_Exception* Clone() const override { return new Cmn_TypedException(*this); }
    [[noreturn]] void Throw() const override { throw Cmn_TypedException(*this); }

private:
    Cmn_TypedException(XC_TypedExceptionCode<T> const& code, T const& data, Cmn_StackDump* dump)
        : Cmn_Exception(code, dump), mData(data)
    {
    }

    T mData;
};

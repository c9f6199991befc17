#pragma once

#include <iosfwd>
#include <memory>
#include <string>

#include "Cmn/Cmn_StackDump.h"
#include "Cmn/XC_BaseExceptionCode.h"

// A code with the record that fills its template: the common part of an
// exception and of the contexts added to it while it unwinds.
class Cmn_ExceptionDescription
{
public:
    virtual ~Cmn_ExceptionDescription();
    virtual void PrintAttr(std::string const& name, std::ostream& os) const = 0;

    XC_BaseExceptionCode const& GetCode() const noexcept { return mCode; }
    Cmn_StackDump const* GetStackDump() const noexcept { return mStackDump.get(); }

    // The code's template with each placeholder "<name>" replaced by what
    // PrintAttr writes for name; a placeholder that writes nothing stays.
    std::string GetDescription() const;

protected:
    // Takes ownership of dump, which may be null.
    Cmn_ExceptionDescription(XC_BaseExceptionCode const& code, Cmn_StackDump* dump) noexcept;
    Cmn_ExceptionDescription(Cmn_ExceptionDescription const& other);
    Cmn_ExceptionDescription(Cmn_ExceptionDescription&& other) noexcept = default;
    Cmn_ExceptionDescription& operator=(Cmn_ExceptionDescription const& other);
    Cmn_ExceptionDescription& operator=(Cmn_ExceptionDescription&& other) noexcept = default;

private:
    XC_BaseExceptionCode mCode;
    std::unique_ptr<Cmn_StackDump> mStackDump;
};

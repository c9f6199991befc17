#pragma once

#include <iosfwd>
#include <string>

// The typed record that an exception or a context carries. PrintAttr writes
// the attribute of the given name and writes nothing for a name it does not
// know, which leaves that placeholder standing in the text.
class Cmn_ExceptionData
{
public:
    virtual ~Cmn_ExceptionData();
    virtual void PrintAttr(std::string const& name, std::ostream& os) const = 0;

protected:
    Cmn_ExceptionData() = default;
    Cmn_ExceptionData(Cmn_ExceptionData const&) = default;
    Cmn_ExceptionData& operator=(Cmn_ExceptionData const&) = default;
};

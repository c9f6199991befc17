#pragma once

#include <string>

class Sys_FileLoc;
class Sys_FileType;

// Decides, for a host, whether a chosen file may be taken: a custom file
// dialog asks it about each selected location before it closes.
class Sys_SelectionValidator
{
public:
    virtual ~Sys_SelectionValidator() = default;
    // False refuses the selection; reason may then say why (empty: the
    // dialog says the name "is not a valid selection").
    virtual bool IsValidSelection(Sys_FileLoc const& loc, Sys_FileType const& type, std::string* reason) = 0;
};

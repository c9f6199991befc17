#pragma once

#include <iosfwd>
#include <string>

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_FileLoc.h"

class Sys_Volume;

// The seam behind Sys_FileLoc. An implementation owns the path grammar of
// its platform and the caching of what it learns about the path.
class Sys_FileLocImpl
{
public:
    virtual ~Sys_FileLocImpl();

    virtual bool IsVolumeRoot() const = 0;
    virtual Sys_Volume GetVolume() const = 0;
    virtual Sys_FileLoc GetParentFolder() const = 0;
    virtual std::string GetFileName(Sys_FileLoc::EFileNameFormat format) const = 0;
    virtual std::string GetExtension() const = 0;
    virtual std::string GetFullPath() const = 0;
    // A new copy, owned by the caller.
    virtual Sys_FileLocImpl* Clone() const = 0;
    // Below 0, 0 or above 0 as this location sorts before, with or after the other.
    virtual int32 Compare(Sys_FileLocImpl const* other) const = 0;
    virtual void Print(std::ostream& os) const = 0;

protected:
    Sys_FileLocImpl() = default;

private:
    Sys_FileLocImpl(Sys_FileLocImpl const&) = delete;
    Sys_FileLocImpl& operator=(Sys_FileLocImpl const&) = delete;
};

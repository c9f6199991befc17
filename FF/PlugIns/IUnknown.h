// Identity and reference count, the first three slots of every plug-in interface.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/PlugInGuid.h"
#include "FF/PlugIns/PlugInResult.h"

class IUnknown
{
public:
    virtual PlugInResult QueryInterface(PlugInGuid const& iid, void** object) = 0;
    virtual u32 AddRef() = 0;
    virtual u32 Release() = 0;

protected:
    ~IUnknown() = default; // lifetime goes through Release
};

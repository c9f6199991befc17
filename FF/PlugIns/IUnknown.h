// Identity and reference count, the first three slots of every plug-in interface.
#pragma once

#include "FF/PlugIns/PlugInGuid.h"
#include "FF/PlugIns/PlugInResult.h"

class IUnknown
{
public:
    virtual PlugInResult QueryInterface(PlugInGuid const& iid, void** object) = 0;
    virtual std::uint32_t AddRef() = 0;
    virtual std::uint32_t Release() = 0;

protected:
    ~IUnknown() = default; // lifetime goes through Release
};

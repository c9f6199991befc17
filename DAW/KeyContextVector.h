#pragma once

#include "Cmn/Cmn_Types.h"

#include <vector>

// The input contexts in which a command may run, for a host's CanDoCommand.
class KeyContextVector
{
public:
    void AddContext(int32 contextID) { mContexts.push_back(contextID); }
    std::vector<int32> const& GetContexts() const { return mContexts; }

private:
    std::vector<int32> mContexts;
};

#pragma once

#include "Cmn/Cmn_Types.h"

#include <string>

// Where an option is kept: its command's number and its name.
struct CommandOptionRegistryKey
{
    int32 mOwnerCommandID;
    std::string mOptionName;
};

// Orders options by command number, then by name.
struct DAW_KeyOptionCompare
{
    bool operator()(CommandOptionRegistryKey const& a, CommandOptionRegistryKey const& b) const
    {
        if (a.mOwnerCommandID != b.mOwnerCommandID)
            return a.mOwnerCommandID < b.mOwnerCommandID;
        return a.mOptionName < b.mOptionName;
    }
};

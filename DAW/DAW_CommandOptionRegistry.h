#pragma once

#include "Cmn/Cmn_RefCountPtr.h"
#include "DAW/DAW_CommandOption.h"
#include "DAW/DAW_KeyOptionCompare.h"

#include <map>
#include <string>

// The process's command options by command and name; the first option
// registered under a key stays.
class DAW_CommandOptionRegistry
{
public:
    using CommandOptionMap =
        std::map<CommandOptionRegistryKey, Cmn_RefCountPtr<DAW_CommandOption>, DAW_KeyOptionCompare>;

    static void RegisterCommandOption(Cmn_RefCountPtr<DAW_CommandOption> option);
    // Null when nothing was registered or the key is absent.
    static Cmn_RefCountPtr<DAW_CommandOption> FindByOwnerCommandIDAndName(int32 ownerCommandID,
                                                                          std::string const& name);
    static CommandOptionMap* GetCommandOptionMap();

private:
    DAW_CommandOptionRegistry() = delete;

    static CommandOptionMap* sCommandOptionMap;
};

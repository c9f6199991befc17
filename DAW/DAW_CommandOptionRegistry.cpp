#include "DAW/DAW_CommandOptionRegistry.h"

#include "Cmn/Cmn_Assert.h"

DAW_CommandOptionRegistry::CommandOptionMap* DAW_CommandOptionRegistry::sCommandOptionMap = nullptr;

void DAW_CommandOptionRegistry::RegisterCommandOption(Cmn_RefCountPtr<DAW_CommandOption> option)
{
    CMN_ASSERT(option);
    if (!option)
        return;
    if (!sCommandOptionMap)
        sCommandOptionMap = new CommandOptionMap;
    sCommandOptionMap->emplace(CommandOptionRegistryKey{option->GetOwnerCommandID(), option->GetOptionName()}, option);
}

Cmn_RefCountPtr<DAW_CommandOption> DAW_CommandOptionRegistry::FindByOwnerCommandIDAndName(int32 ownerCommandID,
                                                                                          std::string const& name)
{
    if (!sCommandOptionMap)
        return nullptr;
    auto const it = sCommandOptionMap->find(CommandOptionRegistryKey{ownerCommandID, name});
    return it == sCommandOptionMap->end() ? nullptr : it->second;
}

DAW_CommandOptionRegistry::CommandOptionMap* DAW_CommandOptionRegistry::GetCommandOptionMap()
{
    return sCommandOptionMap;
}

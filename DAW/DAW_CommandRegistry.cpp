#include "DAW/DAW_CommandRegistry.h"

#include "Cmn/Cmn_Assert.h"
#include "DAW/DAW_Command.h"

DAW_CommandRegistry::CommandMap* DAW_CommandRegistry::sCommandMap = nullptr;

void DAW_CommandRegistry::RegisterCommand(DAW_Command* command)
{
    CMN_ASSERT(command);
    if (!command)
        return;
    if (!sCommandMap)
        sCommandMap = new CommandMap;
    sCommandMap->emplace(command->GetCommandID(), command);
}

DAW_Command* DAW_CommandRegistry::FindCommandByName(std::string const& name)
{
    CMN_ASSERT(sCommandMap);
    if (!sCommandMap)
        return nullptr;
    for (auto const& [id, command] : *sCommandMap)
        if (command->GetName() == name)
            return command;
    return nullptr;
}

DAW_Command* DAW_CommandRegistry::FindCommandByID(int32 commandID)
{
    CMN_ASSERT(sCommandMap);
    if (!sCommandMap)
        return nullptr;
    auto const it = sCommandMap->find(commandID);
    return it == sCommandMap->end() ? nullptr : it->second;
}

DAW_CommandRegistry::CommandMap* DAW_CommandRegistry::GetCommandMap()
{
    return sCommandMap;
}

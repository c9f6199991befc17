#pragma once

#include "Cmn/Cmn_Types.h"

#include <map>
#include <string>

class DAW_Command;

// The process's commands by number. The first command registered under a
// number stays; the registry does not own them.
class DAW_CommandRegistry
{
public:
    using CommandMap = std::map<int32, DAW_Command*>;

    static void RegisterCommand(DAW_Command* command);
    // The first exact match in number order, or null. Both finds assert
    // when nothing was registered yet.
    static DAW_Command* FindCommandByName(std::string const& name);
    static DAW_Command* FindCommandByID(int32 commandID);
    // Null until the first registration.
    static CommandMap* GetCommandMap();

private:
    DAW_CommandRegistry() = delete;

    static CommandMap* sCommandMap;
};

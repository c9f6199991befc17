#pragma once

#include "Cmn/Cmn_Types.h"

#include <map>
#include <string>

class DAW_KeyboardInputContext;

// The process's input contexts by number; the first registered under a
// number stays. Not owned.
class DAW_KeyContextRegistry
{
public:
    using KeyContextMap = std::map<int32, DAW_KeyboardInputContext*>;

    static void RegisterKeyContext(DAW_KeyboardInputContext* context);
    // The first exact match in number order, or null. Both finds assert
    // when nothing was registered yet.
    static DAW_KeyboardInputContext* FindKeyContextByName(std::string const& name);
    static DAW_KeyboardInputContext* FindKeyContextByID(int32 contextID);
    // Null until the first registration.
    static KeyContextMap* GetKeyContextMap();

private:
    DAW_KeyContextRegistry() = delete;

    static KeyContextMap* sKeyContextMap;
};

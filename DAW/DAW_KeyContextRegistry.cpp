#include "DAW/DAW_KeyContextRegistry.h"

#include "Cmn/Cmn_Assert.h"
#include "DAW/DAW_KeyboardInputContext.h"

DAW_KeyContextRegistry::KeyContextMap* DAW_KeyContextRegistry::sKeyContextMap = nullptr;

void DAW_KeyContextRegistry::RegisterKeyContext(DAW_KeyboardInputContext* context)
{
    CMN_ASSERT(context);
    if (!context)
        return;
    if (!sKeyContextMap)
        sKeyContextMap = new KeyContextMap;
    sKeyContextMap->emplace(context->GetContextID(), context);
}

DAW_KeyboardInputContext* DAW_KeyContextRegistry::FindKeyContextByName(std::string const& name)
{
    CMN_ASSERT(sKeyContextMap);
    if (!sKeyContextMap)
        return nullptr;
    for (auto const& [id, context] : *sKeyContextMap)
        if (context->GetContextName() == name)
            return context;
    return nullptr;
}

DAW_KeyboardInputContext* DAW_KeyContextRegistry::FindKeyContextByID(int32 contextID)
{
    CMN_ASSERT(sKeyContextMap);
    if (!sKeyContextMap)
        return nullptr;
    auto const it = sKeyContextMap->find(contextID);
    return it == sKeyContextMap->end() ? nullptr : it->second;
}

DAW_KeyContextRegistry::KeyContextMap* DAW_KeyContextRegistry::GetKeyContextMap()
{
    return sKeyContextMap;
}

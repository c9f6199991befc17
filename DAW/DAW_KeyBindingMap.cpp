#include "DAW/DAW_KeyBindingMap.h"

#include "Cmn/Cmn_Assert.h"

DAW_KeyBindingMap::DAW_KeyBindingMap() = default;

DAW_KeyBindingMap::~DAW_KeyBindingMap() = default;

void DAW_KeyBindingMap::AddKeyBinding(Cmn_RefCountPtr<DAW_KeyBinding> binding)
{
    CMN_ASSERT(binding && binding->GetKeyEvent());
    if (!binding || !binding->GetKeyEvent())
        return;
    if (!mKeyMap)
        mKeyMap = std::make_shared<KeyMap>();
    // A multimap inserts an equal key after those already there.
    mKeyMap->emplace(binding->GetKeyEvent(), binding);
}

void DAW_KeyBindingMap::DeleteKeyBinding(Cmn_RefCountPtr<DAW_KeyBinding> binding)
{
    if (!mKeyMap || !binding || !binding->GetKeyEvent())
        return;
    // find() may answer any of several equal keys; the first is wanted.
    auto const it = mKeyMap->lower_bound(binding->GetKeyEvent());
    if (it != mKeyMap->end() && it->first->GetKeyCode() == binding->GetKeyEvent()->GetKeyCode())
        mKeyMap->erase(it);
}

Cmn_RefCountPtr<DAW_KeyBinding> DAW_KeyBindingMap::FindMatchingKeyBinding(Cmn_RefCountPtr<DAW_KeyEvent> event,
                                                                          Cmn_RefCountPtr<DAW_EventModifiers> modifiers)
{
    if (!mKeyMap || !event || !modifiers)
        return nullptr;
    auto const [first, last] = mKeyMap->equal_range(event);
    for (auto it = first; it != last; ++it)
        if (*it->second->GetEventModifiers() == *modifiers)
            return it->second;
    return nullptr;
}

DAW_KeyBindingMap::KeyMap* DAW_KeyBindingMap::GetKeyMap()
{
    return mKeyMap.get();
}

#include "DAW/DAW_KeyBindingMap.h"

#include "Cmn/Cmn_Assert.h"

namespace
{
constexpr int32 kDontCare = 2;
} // namespace

DAW_KeyBindingMap::DAW_KeyBindingMap() = default;

DAW_KeyBindingMap::~DAW_KeyBindingMap() = default;

bool DAW_KeyBindingMap::Pack(DAW_EventModifiers const& m, u8& care, u8& value)
{
    int32 const keys[4] = {m.GetMenuCommandKeyState(), m.GetAlternateKeyState(), m.GetMetaKeyState(),
                           m.GetShiftKeyState()};
    int32 const buttons[3] = {m.GetLeftButtonState(), m.GetMiddleButtonState(), m.GetRightButtonState()};
    care = 0;
    value = 0;
    for (int i = 0; i < 4; ++i)
    {
        if (keys[i] < 0 || keys[i] > kDontCare)
            return false;
        care |= u8((keys[i] != kDontCare) << i);
        value |= u8((keys[i] == 1) << i);
    }
    for (int i = 0; i < 3; ++i)
    {
        if (buttons[i] < 0 || buttons[i] > 1)
            return false;
        care |= u8(1 << (4 + i));
        value |= u8(buttons[i] << (4 + i));
    }
    return true;
}

void DAW_KeyBindingMap::Index(Table& table)
{
    table.mEntries.clear();
    table.mFirst.assign(kDAW_KeyCodeCount + 1, 0);
    table.mOtherCodes = false;
    // The table is in key order already: count, then fill in that order.
    for (auto const& [key, binding] : table.mMap)
    {
        // Entries put in through GetKeyMap without a binding or modifiers
        // match nothing.
        if (!key || !binding || !binding->GetEventModifiers())
            continue;
        DAW_EKeyCode const code = key->GetKeyCode();
        if (code < 0 || code >= kDAW_KeyCodeCount)
        {
            table.mOtherCodes = true;
            continue;
        }
        ++table.mFirst[code + 1];
        Entry e{0, 0, false, binding.get()};
        e.mBits = Pack(*binding->GetEventModifiers(), e.mCare, e.mValue);
        table.mEntries.push_back(e);
    }
    for (int32 c = 0; c < kDAW_KeyCodeCount; ++c)
        table.mFirst[c + 1] += table.mFirst[c];
    table.mIndexed = true;
}

void DAW_KeyBindingMap::AddKeyBinding(Cmn_RefCountPtr<DAW_KeyBinding> binding)
{
    CMN_ASSERT(binding && binding->GetKeyEvent() && binding->GetEventModifiers());
    if (!binding || !binding->GetKeyEvent() || !binding->GetEventModifiers())
        return;
    if (!mTable)
        mTable = std::make_shared<Table>();
    // A multimap inserts an equal key after those already there.
    mTable->mMap.emplace(binding->GetKeyEvent(), binding);
    mTable->mIndexed = false;
}

void DAW_KeyBindingMap::DeleteKeyBinding(Cmn_RefCountPtr<DAW_KeyBinding> binding)
{
    if (!mTable || !binding || !binding->GetKeyEvent())
        return;
    // find() may answer any of several equal keys; the first is wanted.
    KeyMap& map = mTable->mMap;
    auto const it = map.lower_bound(binding->GetKeyEvent());
    if (it != map.end() && it->first->GetKeyCode() == binding->GetKeyEvent()->GetKeyCode())
    {
        map.erase(it);
        mTable->mIndexed = false;
    }
}

Cmn_RefCountPtr<DAW_KeyBinding> DAW_KeyBindingMap::FindMatchingKeyBinding(Cmn_RefCountPtr<DAW_KeyEvent> event,
                                                                          Cmn_RefCountPtr<DAW_EventModifiers> modifiers)
{
    if (!mTable || !event || !modifiers)
        return nullptr;
    Table& table = *mTable;
    DAW_EKeyCode const code = event->GetKeyCode();
    if (code < 0 || code >= kDAW_KeyCodeCount)
    {
        // Codes beyond the key tables: walk the table itself.
        if (!table.mOtherCodes && table.mIndexed)
            return nullptr;
        auto const [first, last] = table.mMap.equal_range(event);
        for (auto it = first; it != last; ++it)
            if (it->second && it->second->GetEventModifiers() && *it->second->GetEventModifiers() == *modifiers)
                return it->second;
        return nullptr;
    }
    if (!table.mIndexed)
        Index(table);
    u8 care = 0, value = 0;
    bool const bits = Pack(*modifiers, care, value);
    for (std::size_t i = table.mFirst[code], end = table.mFirst[code + 1]; i < end; ++i)
    {
        Entry const& e = table.mEntries[i];
        // Both sides care about a field: it must be equal.
        bool const meets = bits && e.mBits ? ((e.mValue ^ value) & e.mCare & care) == 0
                                           : *e.mBinding->GetEventModifiers() == *modifiers;
        if (meets)
            return Cmn_RefCountPtr<DAW_KeyBinding>(e.mBinding);
    }
    return nullptr;
}

DAW_KeyBindingMap::KeyMap* DAW_KeyBindingMap::GetKeyMap()
{
    if (!mTable)
        return nullptr;
    mTable->mIndexed = false;
    return &mTable->mMap;
}

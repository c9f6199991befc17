#pragma once

#include "Cmn/Cmn_RefCountPtr.h"
#include "DAW/DAW_EventModifiers.h"
#include "DAW/DAW_KeyBinding.h"
#include "DAW/DAW_KeyEvent.h"

#include <map>
#include <memory>
#include <vector>

// The bindings of one input context, by key. Bindings of one key are kept
// in the order they were added, and the first whose modifiers meet the
// event's wins: a binding with don't-care modifiers added before a more
// exact one hides it. Copies share one table.
//
// Lookups go through an index of each key's bindings with their modifiers
// packed into bits, made again after the table changes (through this
// class, or through GetKeyMap): the modifiers of a binding are read when
// the index is made, so a binding is not changed in place once added.
class DAW_KeyBindingMap
{
public:
    // Orders by key code alone.
    struct DAW_KeyEventCompare
    {
        bool operator()(Cmn_RefCountPtr<DAW_KeyEvent> const& a, Cmn_RefCountPtr<DAW_KeyEvent> const& b) const
        {
            return a->GetKeyCode() < b->GetKeyCode();
        }
    };
    using KeyMap = std::multimap<Cmn_RefCountPtr<DAW_KeyEvent>, Cmn_RefCountPtr<DAW_KeyBinding>, DAW_KeyEventCompare>;

    DAW_KeyBindingMap();
    DAW_KeyBindingMap(DAW_KeyBindingMap const& other) = default;
    DAW_KeyBindingMap& operator=(DAW_KeyBindingMap const& other) = default;
    // The table goes with the last copy.
    virtual ~DAW_KeyBindingMap();

    virtual void AddKeyBinding(Cmn_RefCountPtr<DAW_KeyBinding> binding);
    // Erases the first binding of the binding's key, whichever binding that
    // is: a host removes bindings of a key in the order it added them.
    virtual void DeleteKeyBinding(Cmn_RefCountPtr<DAW_KeyBinding> binding);
    // The first binding of the event's key whose modifiers meet these, or
    // null. The event's text, state and repeat mark play no part.
    virtual Cmn_RefCountPtr<DAW_KeyBinding> FindMatchingKeyBinding(Cmn_RefCountPtr<DAW_KeyEvent> event,
                                                                   Cmn_RefCountPtr<DAW_EventModifiers> modifiers);
    // Null until the first binding is added. The caller may change the
    // table through it.
    virtual KeyMap* GetKeyMap();

private:
    struct Entry
    {
        u8 mCare;   // a bit per field that must match: the keys that aren't "don't care", and the buttons
        u8 mValue;  // a bit per field that is down
        bool mBits; // false: a field holds a value beyond the enumeration, compared in full
        DAW_KeyBinding* mBinding;
    };
    struct Table
    {
        KeyMap mMap;
        bool mIndexed = false;
        std::vector<Entry> mEntries;     // by key code, each key's in the table's order
        std::vector<std::size_t> mFirst; // mEntries of code c: [mFirst[c], mFirst[c + 1])
        bool mOtherCodes = false;        // codes beyond the index: walked in the table
    };

    static bool Pack(DAW_EventModifiers const& m, u8& care, u8& value);
    static void Index(Table& table);

    std::shared_ptr<Table> mTable;
};

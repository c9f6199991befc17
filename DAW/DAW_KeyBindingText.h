// Key bindings as a person reads and edits them: a text of one binding a
// line, grouped by input context.
//
//     # comments run to the end of the line
//     context 2 "Edit window"
//     command+shift+A      "Select All"
//     shift?+Space         Play             repeat
//     left+Delete          "Delete Region"
//     "command+Numpad +"   "Zoom In"
//
// A binding is its key with modifiers, the name of its command, then its
// options. The key is written with the key names of the key tables (case
// does not matter; the keypad's Enter key is "Enter"), after the modifiers
// that must be down: command, option, control, shift, and the mouse
// buttons left, middle, right, each followed by '+'. A key modifier with
// '?' ("shift?") may be up or down; one not written must be up. The one
// option, repeat, lets auto-repeats of the key run the command again.
// Words are separated by blanks; a word with blanks is written in double
// quotes, with \" and \\ inside. A "context ID NAME" line starts the
// bindings of another context; bindings before any belong to context 0.
#pragma once

#include "Cmn/Cmn_RefCountPtr.h"
#include "DAW/DAW_EventModifiers.h"
#include "DAW/DAW_KeyEvent.h"

#include <iosfwd>
#include <string>
#include <vector>

class DAW_KeyBindingMap;

class DAW_KeyBindingText
{
public:
    struct Binding
    {
        int32 mLine = 0; // where it was read; 0 when it was not read
        Cmn_RefCountPtr<DAW_KeyEvent> mKeyEvent;
        Cmn_RefCountPtr<DAW_EventModifiers> mModifiers;
        std::string mCommandName;
    };
    struct Context
    {
        int32 mLine = 0;
        int32 mContextID = 0;
        std::string mContextName;
        std::vector<Binding> mBindings; // in the order they are added
    };
    // Two bindings of one context that one event would both match: the
    // first is the one that runs.
    struct Conflict
    {
        int32 mContextID;
        Binding mFirst;
        Binding mSecond;
        bool mSecondNeverRuns; // every event the second matches, the first matches too
    };

    // Throws XC_DAW_ErrorReadingFile, its context naming `sourceName` and
    // the line, for anything that is not a binding as described above.
    static std::vector<Context> Read(std::istream& in, std::string const& sourceName);
    static void Write(std::ostream& out, std::vector<Context> const& contexts);

    // "command+shift?+A", and back; Parse throws as Read does, naming what.
    static std::string FormatKey(DAW_KeyEvent const& key, DAW_EventModifiers const& modifiers);
    static void ParseKey(std::string const& text, std::string const& what, Binding& out);

    static std::vector<Conflict> FindConflicts(std::vector<Context> const& contexts);

    // Adds a context's bindings to a map, each with the registered command
    // of its name; throws, naming the line, for a command not registered.
    static void AddToMap(Context const& context, DAW_KeyBindingMap& map, std::string const& sourceName);
    // The bindings of a map, for saving; the map's own order, which is the
    // order of resolution for each key.
    static Context FromMap(DAW_KeyBindingMap& map, int32 contextID, std::string const& contextName);

private:
    DAW_KeyBindingText() = delete;
};

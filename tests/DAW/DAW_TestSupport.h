// What the command, key and menu tests share: a command and a menu item
// that log their calls, and keys written as the bindings text writes them.
#pragma once

#include "DAW/DAW_Command.h"
#include "DAW/DAW_KeyBindingMap.h"
#include "DAW/DAW_KeyBindingText.h"
#include "DAW/DAW_MenuEntrySimple.h"

#include <sstream>
#include <string>
#include <vector>

namespace vfltest
{
// Enabled unless told otherwise and, given a log, writes each call there as
// "<name>.<call>" (can<context>, do, start, end).
class LoggingCommand : public DAW_Command
{
public:
    LoggingCommand(std::string name, int32 id, int32 secondNumber = 0, DAW_ECommandType type = kDAW_CommandOneShot,
                   std::vector<std::string>* log = nullptr)
        : DAW_Command(std::move(name), id, secondNumber, type), mLog(log)
    {
    }
    bool CanDoCommand(int32 context) override
    {
        Log("can" + std::to_string(context));
        return mEnabled;
    }
    void DoCommand(Cmn_RefCountPtr<DAW_EventModifiers>, Cmn_RefCountPtr<DAW_KeyboardState>) override { Log("do"); }
    void DoCommandStart(Cmn_RefCountPtr<DAW_EventModifiers>, Cmn_RefCountPtr<DAW_KeyboardState>) override
    {
        Log("start");
    }
    void DoCommandEnd(Cmn_RefCountPtr<DAW_EventModifiers>, Cmn_RefCountPtr<DAW_KeyboardState>) override { Log("end"); }
    bool mEnabled = true;

private:
    void Log(std::string const& call)
    {
        if (mLog)
            mLog->push_back(GetName() + "." + call);
    }
    std::vector<std::string>* mLog;
};

// "shift?+Space", then "up" for a release, "repeat" for an auto-repeat, any
// other word the text the key types.
inline DAW_KeyBindingText::Binding KeyOf(std::string const& text)
{
    std::istringstream words(text);
    std::string key, word, typed;
    words >> key;
    DAW_KeyBindingText::Binding b;
    DAW_KeyBindingText::ParseKey(key, "test key", b);
    DAW_EKeyState state = kDAW_KeyDown;
    DAW_EAutoKey autoKey = kDAW_AutoKeyNone;
    while (words >> word)
        if (word == "up")
            state = kDAW_KeyUp;
        else if (word == "repeat")
            autoKey = kDAW_AutoKeyRepeat;
        else
            typed = word;
    b.mKeyEvent = DAW_KeyEvent::New(b.mKeyEvent->GetKeyCode(), autoKey, typed, state);
    return b;
}

// The modifiers alone: "command?+shift+", or "" for none.
inline Cmn_RefCountPtr<DAW_EventModifiers> ModifiersOf(std::string const& text)
{
    return KeyOf(text + "A").mModifiers;
}

// With "repeat", the key's auto-repeats run the command too.
inline Cmn_RefCountPtr<DAW_KeyBinding> BindingOf(std::string const& text, DAW_Command* command)
{
    DAW_KeyBindingText::Binding const b = KeyOf(text);
    return DAW_KeyBinding::New(b.mKeyEvent, b.mModifiers, command);
}

// Enabled and checked as told; writes each run ("Open") and its end
// ("~Open") to one log.
inline std::vector<std::string> sMenuLog;

class MenuItem : public DAW_MenuEntrySimple
{
public:
    explicit MenuItem(std::string const& text, bool enabled = true, bool checked = false)
        : DAW_MenuEntrySimple(text), mEnabled(enabled), mChecked(checked)
    {
    }
    ~MenuItem() override { sMenuLog.push_back("~" + GetMenuText()); }
    bool MenuEntryIsEnabled() override { return mEnabled; }
    bool MenuEntryIsChecked() override { return mChecked; }
    void DoIt() override { sMenuLog.push_back(GetMenuText()); }

    bool mEnabled, mChecked;
};
} // namespace vfltest

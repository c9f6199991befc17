#pragma once

#include "DAW/DAW_Command.h"
#include "tools/vfl-gtk/BrowserAction.h"

// A browser action as a command that key bindings name; it acts on the
// browser whose window was active last.
class BrowserCommand : public DAW_Command
{
public:
    BrowserCommand(EBrowserAction action, std::string name);

    bool CanDoCommand(int32 context) override;
    void DoCommand(Cmn_RefCountPtr<DAW_EventModifiers> modifiers, Cmn_RefCountPtr<DAW_KeyboardState> state) override;

private:
    EBrowserAction mAction;
};

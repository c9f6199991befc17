#include "tools/vfl-gtk/Gtk/BrowserCommand.h"

#include "tools/vfl-gtk/Gtk/Browser.h"

BrowserCommand::BrowserCommand(EBrowserAction action, std::string name)
    : DAW_Command(std::move(name), action, 0), mAction(action)
{
}

bool BrowserCommand::CanDoCommand(int32)
{
    return Browser::GetCurrent() && Browser::GetCurrent()->CanDo(mAction);
}

void BrowserCommand::DoCommand(Cmn_RefCountPtr<DAW_EventModifiers>, Cmn_RefCountPtr<DAW_KeyboardState>)
{
    if (Browser* const browser = Browser::GetCurrent())
        browser->Do(mAction);
}

#pragma once

#include "DAW/DAW_MenuEntrySimple.h"
#include "tools/vfl-gtk/BrowserAction.h"

class Browser;

// A browser action as a menu item: enabled when the browser can do it, and
// checked where it shows a part that is shown.
class BrowserMenuItem : public DAW_MenuEntrySimple
{
public:
    BrowserMenuItem(Browser& browser, EBrowserAction action, std::string const& text);

    using DAW_MenuEntrySimple::DoIt;
    using DAW_MenuEntrySimple::MenuEntryIsChecked;
    using DAW_MenuEntrySimple::MenuEntryIsEnabled;
    bool MenuEntryIsEnabled() override;
    bool MenuEntryIsChecked() override;
    void DoIt() override;

private:
    Browser& mBrowser;
    EBrowserAction mAction;
};

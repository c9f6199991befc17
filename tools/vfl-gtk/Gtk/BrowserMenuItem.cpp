#include "tools/vfl-gtk/Gtk/BrowserMenuItem.h"

#include "tools/vfl-gtk/Gtk/Browser.h"

BrowserMenuItem::BrowserMenuItem(Browser& browser, EBrowserAction action, std::string const& text)
    : DAW_MenuEntrySimple(text), mBrowser(browser), mAction(action)
{
}

bool BrowserMenuItem::MenuEntryIsEnabled()
{
    return mBrowser.CanDo(mAction);
}

bool BrowserMenuItem::MenuEntryIsChecked()
{
    return mBrowser.IsChecked(mAction);
}

void BrowserMenuItem::DoIt()
{
    mBrowser.Do(mAction);
}

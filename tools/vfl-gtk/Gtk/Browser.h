// The window of vfl-gtk: a menu bar, key bindings that run the same
// commands, the custom file chooser to open a file, and the file's
// information and overview picture as `vfl info` and `vfl overview --png`
// give them.
#pragma once

#include "DAW/DAW_KeyBindingMap.h"
#include "DAW/DAW_KeyboardInputContext.h"
#include "DAW/Gtk/DAW_KeyInputGtk.h"
#include "FF/FF_AudioFileAttr.h"
#include "FF/FF_AudioFileUtils.h"
#include "Sys/Sys_FileLoc.h"
#include "tools/vfl-gtk/BrowserAction.h"

#include <gtk/gtk.h>

#include <list>
#include <memory>
#include <string>
#include <vector>

class DAW_MenuEntrySubMenu;

class Browser
{
public:
    // The key bindings are the text of a bindings file, named `keysSource`
    // in messages; a text that is no bindings file throws, naming the line.
    // GTK must be initialised and the library started.
    Browser(std::string const& keys, std::string const& keysSource);
    ~Browser();
    Browser(Browser const&) = delete;
    Browser& operator=(Browser const&) = delete;

    GtkWidget* GetWindow() const { return mWindow; }

    bool CanDo(EBrowserAction action) const;
    bool IsChecked(EBrowserAction action) const;
    void Do(EBrowserAction action);

    // Shows a file: its information at once, its overview when it has
    // been worked out. A file that cannot be read is said in the status line.
    void Open(Sys_FileLoc const& loc);

    // What the window shows, for a person and for the tests.
    std::string const& GetPath() const { return mPath; }
    std::string GetInformationText() const;
    GdkPixbuf* GetOverview() const;
    std::string GetStatusText() const;
    // True while an overview or a conversion is being worked out.
    bool IsWorking() const { return !mJobs.empty(); }

    // The browser whose window was active last; its commands are the
    // ones the keys run.
    static Browser* GetCurrent() { return sCurrent; }

    // The names of the commands that bindings files may use.
    static std::vector<std::string> CommandNames();

private:
    struct Job;

    void BuildMenus();
    void FillRecentMenu();
    void ChooseAndOpen();
    void ChooseAndConvert();
    void Reload();
    void ShowParts();
    void SetStatus(std::string const& text);
    void StartOverview(FF_AudioFileAttr const& attr);
    void Follow();
    void Finish(Job& job);

    static void OpenRecent(void* browser, Sys_FileLoc location);
    static gboolean OnTimer(gpointer browser);
    static gboolean OnFocusIn(GtkWidget*, GdkEvent*, gpointer browser);

    static Browser* sCurrent;

    GtkWidget* mWindow = nullptr;
    GtkWidget* mMenuBar = nullptr;
    GtkWidget* mInformation = nullptr;
    GtkWidget* mOverview = nullptr;
    GtkWidget* mStatus = nullptr;
    guint mTimer = 0;

    std::unique_ptr<DAW_MenuEntrySubMenu> mMenu;
    DAW_MenuEntrySubMenu* mRecentMenu = nullptr;
    uint32 mRecentGeneration = ~0u;
    std::vector<std::string> mRecentShown;
    DAW_KeyBindingMap mBindings;
    DAW_KeyboardInputContext mContext;
    DAW_KeyInputGtk mKeys;

    std::string mPath;
    Sys_FileLoc mLoc;
    int mSerial = 0; // counts the files shown
    FF_AudioFileAttr mAttr;
    bool mKnown = false;
    bool mShowInformation = true;
    bool mShowOverview = true;
    // Chains under way with what they write into; a chain that is no longer
    // wanted still runs to its end with its buffers alive.
    std::list<std::unique_ptr<Job>> mJobs;
};

// The custom file dialog through a scripted chooser and scripted message
// boxes: the name rules of save dialogs with their messages, the recent
// items menus of open dialogs, and a recent place that never answers.
#include "DAW/Sys_CustomFileDialog.h"
#include "DAW/DAW_MenuEntrySubMenu.h"
#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileTestSupport.h"
#include "Sys/Sys_MessageBox.h"
#include "Sys/Sys_RecentItems.h"
#include "Sys/Sys_Utils.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace
{
struct Shown
{
    std::string text;
    Sys_MessageBox::EIcon icon;
    bool operator==(Shown const&) const = default;
};
std::vector<Shown> sShown;
std::deque<Sys_MessageBox::EAnswer> sAnswers;

Sys_MessageBox::EAnswer ScriptedBox(void*, std::string const& text, std::string const&, Sys_MessageBox::EIcon icon,
                                    Sys_MessageBox::EButtons, Sys_MessageBox::EAnswer defaultAnswer)
{
    sShown.push_back({text, icon});
    if (sAnswers.empty())
        return defaultAnswer;
    Sys_MessageBox::EAnswer const a = sAnswers.front();
    sAnswers.pop_front();
    return a;
}

class ScriptedChooser;
// What the user does, a step at a time, once the chooser shows.
using Step = std::function<void(Sys_CustomFileDialog&, ScriptedChooser&)>;
std::vector<Step> sScript;
bool sOpened = false;

class ScriptedChooser : public Sys_FileChooserBackend
{
public:
    bool Run(Sys_CustomFileDialog& dialog, Setup const& setup) override
    {
        mDialog = &dialog;
        mSetup = setup;
        dialog.DoInitDone();
        sOpened = true;
        for (Step const& step : sScript)
        {
            step(dialog, *this);
            if (mDone)
                return mChosen;
        }
        return false; // the user closed it
    }
    std::string GetFolderPath() override { return mSetup.folder; }
    std::vector<std::string> GetSpec() override { return mSpec; }
    int32 GetFilterIndex() override { return mSetup.filterIndex; }
    void SetName(std::string const& text, bool accept) override
    {
        mSpec = {text};
        if (accept)
            Accept();
    }
    void SetFolder(std::string const& path) override { mSetup.folder = path; }
    void SetMenu(DAW_MenuEntry*) override {}
    void UpdateMenu() override {}
    void* GetWindow() override { return this; }
    std::string GetApplicationName() override { return "test"; }

    void Accept()
    {
        if (mDialog->DoFileOK())
            mDone = mChosen = true;
    }

private:
    std::vector<std::string> mSpec;
    Sys_CustomFileDialog* mDialog = nullptr;
    Setup mSetup;
    bool mDone = false;
    bool mChosen = false;
};

// The menu tree as text: "title > [item, item]".
std::string Draw(DAW_MenuEntry* entry)
{
    std::string text;
    DAW_MenuEntrySubMenu* const sub = entry->GetMenuEntrySubMenu();
    for (int32 i = 0; sub && i < sub->GetNumberOfEntries(); ++i)
    {
        DAW_MenuEntry* const e = sub->GetEntry(i);
        text += (i ? ", " : "") + e->GetMenuText(0);
        if (e->GetMenuEntrySubMenu())
            text += " > [" + Draw(e) + "]";
    }
    return text;
}

class SysCustomFileDialogTest : public vfltest::SysFolderTest
{
protected:
    void SetUp() override
    {
        SysFolderTest::SetUp();
        Sys_MessageBox::SetShowMethod(&ScriptedBox);
        Sys_CustomFileDialog::SetBackendCreateMethod([]() -> Sys_FileChooserBackend* { return new ScriptedChooser; });
        mFolder = Dir();
        std::filesystem::create_directories(mFolder + "data/Zenthar");
        setenv("XDG_DATA_HOME", (mFolder + "data").c_str(), 1);
        Sys_RecentItems::InitializeRecentItemsLists();
        Sys_RecentItems::ReadRecentFoldersAndFiles();
        sShown.clear();
        sAnswers.clear();
        sOpened = false;
    }
    void TearDown() override { Sys_RecentItems::SetProbeMethod(&Sys_UtilsPosix::ProbeRecentItem); }

    void Touch(std::string const& name) const { vfltest::WriteWholeFile(mFolder + name, {1, 2, 3}); }
    void Store(char const* list, std::vector<std::string> const& paths) const
    {
        std::string bytes;
        for (std::string const& p : paths)
            bytes += p + std::string(1, '\0');
        vfltest::WriteWholeFile(mFolder + "data/Zenthar/" + list,
                                std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
    }

    std::string mFolder;
};
} // namespace

TEST_F(SysCustomFileDialogTest, SaveNamesFollowTheRulesWithTheirMessages)
{
    std::string const stem27(27, 'n'), stem28(28, 'n');
    struct Case
    {
        char const* what;
        std::string typed;
        std::vector<Sys_MessageBox::EAnswer> answers; // to the questions asked
        std::vector<Shown> shown;
        std::string chosen; // empty: refused, the dialog stays open
    };
    using MB = Sys_MessageBox;
    std::string const tooLong = "Please choose a name with 31 or fewer characters (including extension).";
    std::string const folder = "folder.wav\nCannot replace a folder with a file.";
    std::string const readOnly = "locked.wav\nThis file is read-only.\nUse another filename, or remove the read-only "
                                 "attribute from the file\nby right-clicking on the file and editing its properties.";
    std::string const replace = "old.wav\nThis file already exists.\nReplace existing file?";
    std::vector<Case> const cases = {
        {"31 characters with the extension", stem27, {}, {}, stem27 + ".wav"},
        {"32 characters", stem28, {}, {{tooLong, MB::kIconWarning}}, ""},
        {"a typed extension is the filter's", stem27 + ".WAV", {}, {}, stem27 + ".wav"},
        {"a folder of the name", "folder", {}, {{folder, MB::kIconStop}}, ""},
        {"a read-only file", "locked", {}, {{readOnly, MB::kIconStop}}, ""},
        {"an existing file, not replaced", "old", {MB::kAnswerNo}, {{replace, MB::kIconQuestion}}, ""},
        {"an existing file, replaced", "old", {MB::kAnswerYes}, {{replace, MB::kIconQuestion}}, "old.wav"},
    };
    std::filesystem::create_directory(mFolder + "folder.wav");
    Touch("old.wav");
    Touch("locked.wav");
    Sys_File(Sys_FileLoc(mFolder + "locked.wav")).SetPermissions(Sys_File::kPermissionReadOnly);
    std::vector<Sys_FileType> const types = {Sys_FileType("wav")};
    Sys_FileLoc const start(mFolder);
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.what);
        sShown.clear();
        sAnswers.assign(c.answers.begin(), c.answers.end());
        // Typed, then Return.
        sScript = {[&](Sys_CustomFileDialog&, ScriptedChooser& chooser) { chooser.SetName(c.typed, true); }};
        std::vector<Sys_FileLoc> files;
        std::vector<Sys_FileType> chosenTypes;
        Sys_CustomFileDialog dialog(&files, &chosenTypes, nullptr, "untitled", kSys_FileDialogSingleSelection,
                                    kSys_FileDialogSave, &types, "Save", &start, nullptr, true, true);
        EXPECT_EQ(dialog.Pose(), !c.chosen.empty());
        EXPECT_EQ(sShown, c.shown);
        if (c.chosen.empty())
            EXPECT_TRUE(files.empty());
        else
        {
            ASSERT_EQ(files.size(), 1u);
            EXPECT_EQ(files[0].GetFullPath(), mFolder + c.chosen);
            EXPECT_EQ(chosenTypes, types);
        }
        // A save dialog has no recent files menu.
        EXPECT_EQ(Draw(dialog.GetRecentItemsMenu()).rfind("&Folders > [", 0), 0u);
        EXPECT_EQ(Draw(dialog.GetRecentItemsMenu()).find("Fi&les"), std::string::npos);
    }
}

TEST_F(SysCustomFileDialogTest, OpenMenusShowOnlyWhatIsThereOfTheDialogsTypes)
{
    Touch("a.wav");
    Touch("c.wav");
    Touch("d.txt");
    std::filesystem::create_directory(mFolder + "takes");
    Store("Recent Files", {mFolder + "a.wav", mFolder + "gone.wav", mFolder + "d.txt", mFolder + "c.wav"});
    Store("Recent Folders", {mFolder + "takes/", mFolder + "gone/"});
    Sys_RecentItems::ReadRecentFoldersAndFiles();
    // Known types are known once the pass is through.
    for (int i = 0; i < 600 && Sys_RecentItems::GetRecentFolders().back().mOnline == Sys_RecentItem::kOnlineUnknown;
         ++i)
        Sys_Utils::Sleep(100);

    std::string menu;
    sScript = {[&](Sys_CustomFileDialog& d, ScriptedChooser&) { menu = Draw(d.GetRecentItemsMenu()); },
               // Picking a recent file chooses it.
               [&](Sys_CustomFileDialog& d, ScriptedChooser&)
               { d.GetRecentItemsMenu()->GetEntry(1)->GetMenuEntrySubMenu()->GetEntry(1)->DoIt(0); }};
    std::vector<Sys_FileType> const types = {Sys_FileType("wav")};
    std::vector<Sys_FileLoc> files;
    Sys_CustomFileDialog dialog(&files, nullptr, nullptr, "", kSys_FileDialogSingleSelection, kSys_FileDialogOpen,
                                &types, "Open", nullptr, nullptr, true, true);
    EXPECT_TRUE(dialog.Pose());
    EXPECT_EQ(menu, "&Folders > [" + mFolder + "takes/], Fi&les > [" + mFolder + "a.wav, " + mFolder + "c.wav]");
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].GetFullPath(), mFolder + "c.wav");
    // Chosen, it leads both lists; the entries not shown stay in them.
    std::vector<Sys_RecentItem> const recent = Sys_RecentItems::GetRecentFiles();
    ASSERT_EQ(recent.size(), 4u);
    EXPECT_EQ(recent[0].mPath, mFolder + "c.wav");
    EXPECT_EQ(Sys_RecentItems::GetRecentFolders().front().mPath, mFolder);
    std::vector<std::uint8_t> const written = vfltest::ReadWholeFile(mFolder + "data/Zenthar/Recent Files");
    EXPECT_EQ(std::string(written.begin(), written.end()).find(mFolder + "c.wav"), 0u);
}

namespace
{
// A place that never answers, as a network share gone silent does, until
// the test lets it go.
std::mutex sHangLock;
std::condition_variable sHangChanged;
bool sHanging = false, sReleased = false;

bool HangingProbe(std::string const& path, Sys_FileType* type, bool* online)
{
    if (path.find("/hanging/") != std::string::npos)
    {
        std::unique_lock<std::mutex> lock(sHangLock);
        sHanging = true;
        sHangChanged.notify_all();
        sHangChanged.wait(lock, [] { return sReleased; });
        return false;
    }
    *type = Sys_FileType("wav");
    *online = true;
    return true;
}
} // namespace

TEST_F(SysCustomFileDialogTest, ARecentPlaceThatNeverAnswersDoesNotStopTheDialog)
{
    Store("Recent Files", {"/here/a.wav", "/hanging/b.wav", "/there/c.wav"});
    Sys_RecentItems::SetProbeMethod(&HangingProbe);
    Sys_RecentItems::ReadRecentFoldersAndFiles();
    {
        std::unique_lock<std::mutex> lock(sHangLock);
        sHangChanged.wait(lock, [] { return sHanging; });
    }
    std::string menu;
    sScript = {[&](Sys_CustomFileDialog& d, ScriptedChooser&) { menu = Draw(d.GetRecentItemsMenu()); }};
    std::vector<Sys_FileType> const types = {Sys_FileType("wav")};
    Sys_CustomFileDialog dialog(nullptr, nullptr, nullptr, "", kSys_FileDialogSingleSelection, kSys_FileDialogOpen,
                                &types, "Open", nullptr, nullptr, true, true);
    // The place still has not answered: the dialog opened and closed all
    // the same, with what was found before it.
    EXPECT_FALSE(dialog.Pose());
    EXPECT_TRUE(sOpened);
    EXPECT_EQ(menu, "&Folders > [], Fi&les > [/here/a.wav]");
    {
        std::lock_guard<std::mutex> lock(sHangLock);
        EXPECT_FALSE(sReleased);
        sReleased = true;
    }
    sHangChanged.notify_all();
}

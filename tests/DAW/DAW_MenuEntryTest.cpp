// The menu tree and its command IDs. The IDs come from one counter of the
// process, so the test of the first IDs runs in a process of its own.
#include "DAW/DAW_MenuEntry.h"
#include "DAW/DAW_MenuEntrySeparator.h"
#include "DAW/DAW_MenuEntrySubMenu.h"
#include "DAW/DAW_TestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace
{
using Item = vfltest::MenuItem;
using vfltest::sMenuLog;

// Several items in one entry, each with an ID of its own, as a list of
// recent files shows them.
class ItemList : public DAW_MenuEntryCompound
{
public:
    explicit ItemList(std::vector<std::string> texts) : mTexts(std::move(texts))
    {
        for (size_t i = 0; i < mTexts.size(); ++i)
            mIDs.push_back(GetIDForEntryAndIndex(this, int16(i)));
    }
    ~ItemList() override
    {
        for (int16 id : mIDs)
            DeleteEntryAndIndexFromCommandID(id);
    }
    int32 GetNumberOfItems() override { return int32(mTexts.size()); }
    std::string GetMenuText(int32 index) override { return mTexts[size_t(index)]; }
    bool MenuEntryIsEnabled(int32) override { return true; }
    bool MenuEntryIsChecked(int32) override { return false; }
    void DoIt(int32 index) override { sMenuLog.push_back("list " + mTexts[size_t(index)]); }
    void DoMenuHighlite(int32) override {}
    int16 GetCommandID(int32 index) override { return mIDs[size_t(index)]; }

    using DAW_MenuEntry::GetIDForEntryAndIndex;

private:
    std::vector<std::string> mTexts;
    std::vector<int16> mIDs;
};

// Each step makes or deletes an entry by name; a made entry must get the ID
// of its row. Answers the number of rows that went wrong.
int RunIDSteps()
{
    struct Step
    {
        char const* name;
        bool make;
        int16 expectedID;
    } const steps[] = {{"a", true, 25000}, {"b", true, 25001},  {"sep", true, -1},  {"c", true, 25002},
                       {"b", false, 0},    {"d", true, 25001},  {"a", false, 0},    {"c", false, 0},
                       {"e", true, 25002}, {"f", true, 25000},  {"g", true, 25003}, {"sep", false, 0},
                       {"h", true, 25004}, {"sub", true, 25005}};
    std::map<std::string, std::unique_ptr<DAW_MenuEntry>> entries;
    int failures = 0;
    for (Step const& s : steps)
    {
        std::string const name = s.name;
        if (!s.make)
        {
            entries.erase(name);
            continue;
        }
        if (name == "sep")
            entries[name] = std::make_unique<DAW_MenuEntrySeparator>();
        else if (name == "sub")
            entries[name] = std::make_unique<DAW_MenuEntrySubMenu>(name);
        else
            entries[name] = std::make_unique<Item>(name);
        int16 const id = entries[name]->GetCommandID(0);
        if (id != s.expectedID)
        {
            std::cerr << name << " got " << id << " instead of " << s.expectedID << "\n";
            ++failures;
        }
    }
    return failures;
}
} // namespace

TEST(DAW_MenuEntryTest, IDsOfAProcessStartAt25000AndTheLastGivenBackIsUsedFirst)
{
    // In a new process: the counter is of the process, and other tests take IDs.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(RunIDSteps()), testing::ExitedWithCode(0), "");
}

TEST(DAW_MenuEntryTest, DoCommandRunsTheItemOfTheIDAndOnlyWhileItLives)
{
    sMenuLog.clear();
    auto* const play = new Item("Play");
    ItemList list({"one.wav", "two.wav", "three.wav"});
    int16 const playID = play->GetCommandID();

    struct Case
    {
        int16 id;
        bool taken;
        char const* logged;
    } const cases[] = {
        {playID, true, "Play"},
        {list.GetCommandID(2), true, "list three.wav"},
        {list.GetCommandID(0), true, "list one.wav"},
        {-1, false, nullptr},    // a separator's
        {24999, false, nullptr}, // never handed out
        {32000, false, nullptr},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.id);
        sMenuLog.clear();
        EXPECT_EQ(DAW_MenuEntry::DoCommand(c.id), c.taken);
        EXPECT_EQ(sMenuLog, c.logged ? std::vector<std::string>{c.logged} : std::vector<std::string>{});
    }

    // Asked again, an item keeps its ID.
    EXPECT_EQ(ItemList::GetIDForEntryAndIndex(&list, 1), list.GetCommandID(1));
    EXPECT_EQ(ItemList::GetIDForEntryAndIndex(play, 0), playID);
    delete play;
    sMenuLog.clear();
    EXPECT_FALSE(DAW_MenuEntry::DoCommand(playID));
    EXPECT_EQ(sMenuLog, std::vector<std::string>{});
}

TEST(DAW_MenuEntryTest, SubMenuOwnsItsEntriesAndKeepsItsIDWhenEmptied)
{
    sMenuLog.clear();
    auto* const root = new DAW_MenuEntrySubMenu("Main");
    auto* const nested = new DAW_MenuEntrySubMenu("Recent");
    root->AppendEntry(new Item("Open"));
    root->AppendEntry(new DAW_MenuEntrySeparator);
    root->AppendEntry(nested);
    nested->AppendEntry(new Item("a.wav"));
    EXPECT_EQ(root->GetNumberOfEntries(), 3);
    EXPECT_EQ(root->GetNumberOfItems(), 1);
    EXPECT_EQ(root->GetEntry(2), nested);
    int16 const rootID = root->GetCommandID(0), nestedID = nested->GetCommandID(0);
    int16 const fileID = nested->GetEntry(0)->GetCommandID(0);

    nested->DeleteAllEntries();
    EXPECT_EQ(nested->GetNumberOfEntries(), 0);
    EXPECT_EQ(sMenuLog, std::vector<std::string>{"~a.wav"});
    EXPECT_FALSE(DAW_MenuEntry::DoCommand(fileID));
    EXPECT_EQ(nested->GetCommandID(0), nestedID);
    EXPECT_EQ(ItemList::GetIDForEntryAndIndex(nested, 0), nestedID);

    sMenuLog.clear();
    delete root;
    EXPECT_EQ(sMenuLog, std::vector<std::string>{"~Open"});
    // The root gives its ID back after its entries have given theirs: the
    // next entry made takes the root's, the one after that the nested menu's.
    Item next("next"), after("after");
    EXPECT_EQ(next.GetCommandID(), rootID);
    EXPECT_EQ(after.GetCommandID(), nestedID);
}

// The menu manager over a window system that records what it is asked to
// make: each menu is a list of items, drawn as text to compare.
#include "DAW/DAW_MenuMgr.h"
#include "DAW/DAW_MenuEntrySeparator.h"
#include "DAW/DAW_MenuEntrySubMenu.h"
#include "DAW/DAW_TestSupport.h"

#include "Cmn/Cmn_Exception.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace
{
class RecordingPlatform : public DAW_MenuPlatform
{
public:
    struct Menu
    {
        bool mPopup;
        std::vector<ItemInfo> mItems; // a separator has the command ID -2
    };

    DAW_MenuHandle CreateMenu() override { return Create(false); }
    DAW_MenuHandle CreatePopupMenu() override { return Create(true); }
    int32 GetLastError() override { return mFailWith; }
    int32 GetMenuItemCount(DAW_MenuHandle menu) override { return int32(Get(menu).mItems.size()); }
    void InsertMenuItem(DAW_MenuHandle menu, int32 position, ItemInfo const& item) override
    {
        Get(menu).mItems.insert(Get(menu).mItems.begin() + position, item);
    }
    void AppendSeparator(DAW_MenuHandle menu) override { Get(menu).mItems.push_back({"", -2, false, false, nullptr}); }
    void DeleteMenuItem(DAW_MenuHandle menu, int32 position) override
    {
        Get(menu).mItems.erase(Get(menu).mItems.begin() + position);
        ++mDeleted;
    }

    // "Open, -, Cut (grayed) (checked), Recent > [a.wav, b.wav]", and with
    // the IDs "Open#25000"...
    std::string Draw(DAW_MenuHandle menu, bool withIDs = false)
    {
        std::string text;
        for (ItemInfo const& item : Get(menu).mItems)
        {
            if (!text.empty())
                text += ", ";
            if (item.mCommandID == -2)
            {
                text += "-";
                continue;
            }
            text += item.mText;
            if (withIDs)
                text += "#" + std::to_string(item.mCommandID);
            text += std::string(item.mGrayed ? " (grayed)" : "") + (item.mChecked ? " (checked)" : "");
            if (item.mSubMenu)
                text += " > [" + Draw(item.mSubMenu, withIDs) + "]";
        }
        return text;
    }

    Menu& Get(DAW_MenuHandle menu) { return mMenus.at(menu); }

    std::map<DAW_MenuHandle, Menu> mMenus;
    int32 mFailWith = 0; // makes the next Create fail
    int mDeleted = 0;

private:
    DAW_MenuHandle Create(bool popup)
    {
        if (mFailWith)
            return nullptr;
        // Unique in the process: the manager knows the menus of earlier tests.
        static std::intptr_t sLast = 0;
        auto const menu = reinterpret_cast<DAW_MenuHandle>(++sLast);
        mMenus[menu] = Menu{popup, {}};
        return menu;
    }
};

using Item = vfltest::MenuItem;

class DAW_MenuMgrTest : public testing::Test
{
protected:
    void SetUp() override { mPrevious = DAW_MenuMgr::SetPlatform(&mPlatform); }
    void TearDown() override { DAW_MenuMgr::SetPlatform(mPrevious); }

    RecordingPlatform mPlatform;
    DAW_MenuPlatform* mPrevious = nullptr;
};

// A menu from a line: items by name, "-" a separator, "!" before a name
// grays it, "*" checks it, "Name[...]" a sub menu.
DAW_MenuEntrySubMenu* Parse(std::string const& text, size_t& at, std::string const& title)
{
    auto* const menu = new DAW_MenuEntrySubMenu(title);
    for (at = text.find_first_not_of(" ,", at); at < text.size() && text[at] != ']';
         at = text.find_first_not_of(" ,", at))
    {
        bool grayed = false, checked = false;
        for (; text[at] == '!' || text[at] == '*'; ++at)
            (text[at] == '!' ? grayed : checked) = true;
        size_t const end = std::min(text.find_first_of(",[]", at), text.size());
        std::string const name = text.substr(at, end - at);
        at = end;
        if (name == "-")
            menu->AppendEntry(new DAW_MenuEntrySeparator);
        else if (at < text.size() && text[at] == '[')
        {
            menu->AppendEntry(Parse(text, ++at, name));
            ++at; // its ']'
        }
        else
            menu->AppendEntry(new Item(name, !grayed, checked));
    }
    return menu;
}

std::unique_ptr<DAW_MenuEntrySubMenu> Tree(std::string const& text)
{
    size_t at = 0;
    return std::unique_ptr<DAW_MenuEntrySubMenu>(Parse(text, at, "root"));
}
} // namespace

TEST_F(DAW_MenuMgrTest, TreesBecomeTheirItemsWithoutAnItemForTheRoot)
{
    struct Case
    {
        char const* tree;
        char const* bar;
    } const cases[] = {
        {"Open, -, Close", "Open, -, Close"},
        {"!Cut, *Loop, !*Snap", "Cut (grayed), Loop (checked), Snap (grayed) (checked)"},
        {"File[New, -, Recent[a.wav, !b.wav]], Edit[*Undo]",
         "File > [New, -, Recent > [a.wav, b.wav (grayed)]], Edit > [Undo (checked)]"},
        {"!Off[On]", "Off > [On]"}, // a sub menu's item is enabled, whatever
        {"", ""},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.tree);
        auto const tree = Tree(c.tree);
        for (bool popup : {false, true})
        {
            DAW_MenuHandle const menu =
                popup ? DAW_MenuMgr::BuildAndMapPopupMenu(tree.get()) : DAW_MenuMgr::BuildAndMapMenu(tree.get());
            EXPECT_EQ(mPlatform.Get(menu).mPopup, popup);
            EXPECT_EQ(mPlatform.Draw(menu), c.bar);
        }
    }
}

TEST_F(DAW_MenuMgrTest, ItemsCarryTheirEntriesIDsAndUpdateFillsAKnownMenuAgainWithTheStatesOfThatMoment)
{
    auto const tree = Tree("Open, -, Loop, Sub[x]");
    DAW_MenuHandle const menu = DAW_MenuMgr::BuildAndMapMenu(tree.get());
    size_t const menus = mPlatform.mMenus.size();
    auto* const loop = static_cast<Item*>(tree->GetEntry(2));
    auto* const sub = tree->GetEntry(3)->GetMenuEntrySubMenu();
    auto const id = [](DAW_MenuEntry* e) { return "#" + std::to_string(e->GetCommandID(0)); };
    EXPECT_EQ(mPlatform.Draw(menu, true), "Open" + id(tree->GetEntry(0)) + ", -, Loop" + id(loop) + ", Sub" + id(sub) +
                                              " > [x" + id(sub->GetEntry(0)) + "]");
    loop->mChecked = true;
    loop->mEnabled = false;
    // Not until asked.
    EXPECT_EQ(mPlatform.Draw(menu), "Open, -, Loop, Sub > [x]");
    tree->AppendEntry(new Item("Added"));
    DAW_MenuMgr::UpdateMenu(menu);
    EXPECT_EQ(mPlatform.Draw(menu), "Open, -, Loop (grayed) (checked), Sub > [x], Added");
    EXPECT_EQ(mPlatform.mMenus.size(), menus + 1); // a new pop-up for Sub, the same bar

    // A nested pop-up and a menu made elsewhere are not the manager's.
    DAW_MenuHandle const nested = mPlatform.Get(menu).mItems[3].mSubMenu;
    DAW_MenuHandle const foreign = mPlatform.CreateMenu();
    mPlatform.InsertMenuItem(foreign, 0, DAW_MenuPlatform::ItemInfo{"mine", 7, false, false, nullptr});
    sub->AppendEntry(new Item("y"));
    int const deleted = mPlatform.mDeleted;
    DAW_MenuMgr::UpdateMenu(nested);
    DAW_MenuMgr::UpdateMenu(foreign);
    EXPECT_EQ(mPlatform.mDeleted, deleted);
    EXPECT_EQ(mPlatform.Draw(nested), "x");
    EXPECT_EQ(mPlatform.Draw(foreign), "mine");
    DAW_MenuMgr::DeleteMenuHandle(menu);
    DAW_MenuMgr::UpdateMenu(menu);
    EXPECT_EQ(mPlatform.Draw(menu), "Open, -, Loop (grayed) (checked), Sub > [x, y], Added");
}

TEST_F(DAW_MenuMgrTest, AMenuTheSystemCannotMakeIsASystemError)
{
    auto const tree = Tree("Open");
    mPlatform.mFailWith = ENOMEM;
    for (bool popup : {false, true})
    {
        try
        {
            popup ? DAW_MenuMgr::BuildAndMapPopupMenu(tree.get()) : DAW_MenuMgr::BuildAndMapMenu(tree.get());
            ADD_FAILURE() << "no exception";
        }
        catch (Cmn_Exception const& e)
        {
            EXPECT_TRUE(e.GetCode() == XC_DAW_SystemError);
            EXPECT_NE(std::string(e.what()).find("Cannot allocate memory"), std::string::npos) << e.what();
        }
    }
}

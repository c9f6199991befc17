#pragma once

#include "DAW/DAW_MenuEntryCompound.h"

// An entry of exactly one item, with its text and command ID; the ID is
// taken when the entry is made and given back when it goes. A subclass
// decides whether the item is enabled, and what picking it does.
//
// Not copyable: a copy would hold the same ID without owning it, and the
// first of the two to go would hand it to the next entry made while the
// other still answered to it.
class DAW_MenuEntrySimple : public DAW_MenuEntryCompound
{
public:
    explicit DAW_MenuEntrySimple(std::string const& text);
    ~DAW_MenuEntrySimple() override;
    DAW_MenuEntrySimple(DAW_MenuEntrySimple const&) = delete;
    DAW_MenuEntrySimple& operator=(DAW_MenuEntrySimple const&) = delete;

    // The indexed forms of the base answer for the one item.
    int32 GetNumberOfItems() override { return 1; }
    std::string GetMenuText(int32) override { return GetMenuText(); }
    bool MenuEntryIsEnabled(int32) override { return MenuEntryIsEnabled(); }
    bool MenuEntryIsChecked(int32) override { return MenuEntryIsChecked(); }
    void DoIt(int32) override { DoIt(); }
    void DoMenuHighlite(int32) override { DoMenuHighlite(); }
    int16 GetCommandID(int32) override { return GetCommandID(); }

    virtual std::string GetMenuText() { return mText; }
    virtual bool MenuEntryIsChecked() { return false; }
    virtual void DoIt() {}
    virtual bool MenuEntryIsEnabled() = 0;
    virtual void DoMenuHighlite() {}
    virtual int16 GetCommandID() { return mCommandID; }

private:
    std::string mText;
    int16 mCommandID;
};

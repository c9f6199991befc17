#include "DAW/DAW_MenuEntrySimple.h"

DAW_MenuEntrySimple::DAW_MenuEntrySimple(std::string const& text)
    : mText(text), mCommandID(GetIDForEntryAndIndex(this, 0))
{
}

DAW_MenuEntrySimple::~DAW_MenuEntrySimple()
{
    DeleteEntryAndIndexFromCommandID(mCommandID);
}

#include "DAW/Sys_FileLocMenuItem.h"

namespace
{
// Menu texts mark the mnemonic with '&'; a path's own '&' is doubled.
std::string AsMenuText(std::string const& path)
{
    std::string text;
    text.reserve(path.size());
    for (char c : path)
    {
        if (c == '&')
            text += '&';
        text += c;
    }
    return text;
}
} // namespace

Sys_FileLocMenuItem::Sys_FileLocMenuItem(Callback callback, void* clientData, Sys_FileLoc location)
    : DAW_MenuEntrySimple(AsMenuText(location.GetFullPath())), mCallback(callback), mClientData(clientData),
      mLocation(std::move(location))
{
}

void Sys_FileLocMenuItem::DoIt()
{
    if (mCallback)
        mCallback(mClientData, mLocation);
}

#include "Sys/Sys_MacCompatibility.h"

#include <atomic>
#include <cstring>

#include "Sys/MacFileInfo.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileType.h"
#include "Sys/Sys_MacRoman.h"
#include "Sys/Sys_Mutex.h"
#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"

namespace
{

std::atomic<bool> sDetectIllegalChars{true};

char const kIllegal[] = "\\/:*?\"<>|";

bool IsIllegal(char c)
{
    if (c != '\0' && std::strchr(kIllegal, c) != nullptr)
        return true;
    // Taken as a signed char, every byte from 0x80 up is below a blank too.
    return sDetectIllegalChars.load() && static_cast<signed char>(c) < ' ';
}

bool IsFolder(Sys_FileLoc const& location)
{
    std::string const path = location.GetFullPath();
    return (!path.empty() && path.back() == '/') ||
           Sys_Utils::GetFileType(location).GetFileType() == Sys_FileType::kTypeFolder;
}

bool OnMacVolume(Sys_FileLoc const& location)
{
    try
    {
        return location.GetVolume().GetFileSystemType() == Sys_Volume::kFileSystemHFS;
    }
    catch (...)
    {
        return false;
    }
}

u32 Reversed(u32 v)
{
    return (v >> 24) | ((v >> 8) & 0xFF00) | ((v << 8) & 0xFF0000) | (v << 24);
}

} // namespace

Sys_FileLoc GetResourceForkLoc(Sys_FileLoc const& location)
{
    return Sys_Utils::GetResourceForkLoc(location);
}

Sys_Mutex* GetResourceManagerMutex()
{
    // A function-local static is made once even when threads race to it.
    static Sys_Mutex* const mutex = Sys_Mutex::Create(Sys_Mutex::kMutexPlain);
    return mutex;
}

void SetFileAndCreatorType(Sys_FileLoc const& location, unsigned long type, unsigned long creator)
{
    if (IsFolder(location) || !OnMacVolume(location))
        return;
    MacFileInfo info;
    if (info.Open(location.GetFullPath()) != 0)
        return;
    info.SetInfo(MacFileInfo::kSetType | MacFileInfo::kSetCreator, Reversed(u32(type)), Reversed(u32(creator)));
}

std::string GetMacFileName(Sys_FileLoc const& location)
{
    std::string name = location.GetFileName(Sys_FileLoc::kNameWithExtension);
    if (IsFolder(location) || !OnMacVolume(location))
        return name;
    MacFileInfo info;
    if (info.Open(location.GetFullPath()) == 0 && info.mNameLength > 0)
        name = Sys_MacRoman::FromName(info.mName, info.mNameLength / 2u);
    return name;
}

std::string MapIllegalChars(std::string const& name)
{
    std::string out = name;
    for (char& c : out)
        if (IsIllegal(c))
            c = '_';
    return out;
}

bool ContainsIllegalChars(std::string const& name, std::string* message)
{
    message->clear();
    bool found = false;
    for (char const* c = kIllegal; *c; ++c)
        if (name.find(*c) != std::string::npos)
        {
            *message += std::string(" ") + *c + " ";
            found = true;
        }
    if (sDetectIllegalChars.load())
    {
        std::string seen;
        for (char c : name)
            if (static_cast<signed char>(c) < ' ' && seen.find(c) == std::string::npos)
            {
                seen += c;
                *message += std::string(" ") + c + " ";
                found = true;
            }
    }
    if (!found)
        message->clear();
    return found;
}

void SetDetectIllegalChars(bool detect)
{
    sDetectIllegalChars.store(detect);
}

#include "Sys/Sys_RecentItemsList.h"

#include "Sys/Sys_File.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Utils.h"

#include <algorithm>

namespace
{
// No path of the system is longer; a list file holds at most its capacity
// of them, so this bounds what a broken or hostile file can make us read.
constexpr int64 kLongestPath = 4096;

char Lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
} // namespace

Sys_RecentItemsList::Sys_RecentItemsList(int32 capacity) : mCapacity(capacity) {}

bool Sys_RecentItemsList::IsSamePath(std::string const& a, std::string const& b)
{
    // The paths are kept canonical, so comparing them as text is comparing
    // the places; it must not ask the disk, which may not answer.
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return Lower(x) == Lower(y); });
}

void Sys_RecentItemsList::Add(Sys_RecentItem const& item)
{
    std::erase_if(mItems, [&](Sys_RecentItem const& i) { return IsSamePath(i.mPath, item.mPath); });
    mItems.insert(mItems.begin(), item);
    if (static_cast<int32>(mItems.size()) > mCapacity)
        mItems.erase(mItems.begin() + mCapacity, mItems.end());
}

void Sys_RecentItemsList::SetFound(std::string const& path, Sys_FileType const& type, Sys_RecentItem::EOnline online)
{
    for (Sys_RecentItem& item : mItems)
        if (IsSamePath(item.mPath, path))
        {
            item.mType = type;
            item.mOnline = online;
        }
}

void Sys_RecentItemsList::Parse(std::string const& bytes)
{
    std::size_t at = 0;
    while (at < bytes.size() && static_cast<int32>(mItems.size()) < mCapacity)
    {
        std::size_t end = bytes.find('\0', at);
        if (end == std::string::npos)
            end = bytes.size();
        mItems.emplace_back(bytes.substr(at, end - at));
        at = end + 1;
    }
}

std::string Sys_RecentItemsList::Format() const
{
    std::string bytes;
    for (Sys_RecentItem const& item : mItems)
    {
        bytes += item.mPath;
        bytes += '\0';
    }
    return bytes;
}

void Sys_RecentItemsList::Read(Sys_FileLoc const& file)
{
    try
    {
        Sys_File f(file);
        Sys_File::StOpen open(&f, Sys_File::kOpenRead | Sys_File::kOpenExisting);
        int64 const size = std::min(f.GetEOF(), mCapacity * (kLongestPath + 1));
        std::string bytes(static_cast<std::size_t>(std::max<int64>(size, 0)), '\0');
        bytes.resize(static_cast<std::size_t>(f.Read(bytes.data(), size)));
        Parse(bytes);
    }
    catch (std::exception const&)
    {
        // An unreadable list is an empty list: nothing to tell the user.
    }
}

void Sys_RecentItemsList::Write(Sys_FileLoc const& file) const
{
    std::string const bytes = Format();
    Sys_Utils::WriteFileWhole(file, bytes.data(), static_cast<int64>(bytes.size()));
}

#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_RecentItem.h"

#include <string>
#include <vector>

class Sys_FileLoc;

// A list of recent items, newest first, of a fixed capacity, and its file:
// the full paths back to back, each ended by one zero byte, with no header
// and no count, in the list's order. Not locked: Sys_RecentItems guards the
// lists it keeps.
class Sys_RecentItemsList
{
public:
    explicit Sys_RecentItemsList(int32 capacity);

    int32 GetCapacity() const { return mCapacity; }
    std::vector<Sys_RecentItem> const& GetItems() const { return mItems; }
    void Clear() { mItems.clear(); }

    // Removes every entry of the same path (compared as locations compare,
    // without regard to case), puts the item in front and drops the oldest
    // beyond the capacity.
    void Add(Sys_RecentItem const& item);
    // Sets what was found out about every entry of the path.
    void SetFound(std::string const& path, Sys_FileType const& type, Sys_RecentItem::EOnline online);

    // Appends the entries of a list file's bytes, up to the capacity: a
    // last entry without its zero byte ends at the end of the bytes. The
    // entries read have the default type and an unknown state.
    void Parse(std::string const& bytes);
    // The bytes of the list's file.
    std::string Format() const;

    // Appends the entries of the file, as Parse; a file that is not there
    // or cannot be read adds what was read before the failure, quietly.
    void Read(Sys_FileLoc const& file);
    // Writes the whole list under a temporary name beside the file, to the
    // disk, and then puts it in the file's place, so that a crash or a full
    // disk leaves the old list whole. Throws the file's errors.
    void Write(Sys_FileLoc const& file) const;

    // True if the paths are the same place to a location.
    static bool IsSamePath(std::string const& a, std::string const& b);

private:
    int32 mCapacity;
    std::vector<Sys_RecentItem> mItems;
};

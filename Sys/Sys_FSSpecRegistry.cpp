#include "Sys/Sys_FSSpecRegistry.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>

#include "Sys/FSSpec.h"

namespace
{

struct Registry
{
    std::mutex mutex;
    std::map<std::string, int16> volumes;         // root -> vRefNum
    std::map<std::string, int32> folders;         // folder path -> parID (per volume key below)
    std::map<uint64, std::string> folderOfKey;    // (vRefNum, parID) -> folder path
    std::map<std::string, std::string> longNames; // key + shortened name -> full path
    int32 nextFolder = 2;                         // 2 is the root's number on a Macintosh volume
    uint32 nextLongName = 1;
};

Registry& TheRegistry()
{
    static Registry* registry = new Registry; // never destroyed: used until the process ends
    return *registry;
}

uint64 Key(int16 vRefNum, int32 parID)
{
    return (uint64(u16(vRefNum)) << 32) | uint32(parID);
}

std::string LongNameKey(uint64 key, std::string const& name)
{
    return std::to_string(key) + '/' + name;
}

} // namespace

void Sys_FSSpecRegistry::Make(std::string const& volumeRoot, std::string const& fullPath, FSSpec* fileSpec)
{
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> lock(r.mutex);
    auto volume = r.volumes.find(volumeRoot);
    if (volume == r.volumes.end())
        volume = r.volumes.emplace(volumeRoot, int16(-1 - int16(r.volumes.size()))).first;

    std::string path = fullPath;
    if (path.size() > 1 && path.back() == '/')
        path.pop_back();
    size_t const slash = path.rfind('/');
    std::string const folder = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);

    std::string const folderKey = std::to_string(volume->second) + '|' + folder;
    auto parent = r.folders.find(folderKey);
    if (parent == r.folders.end())
    {
        parent = r.folders.emplace(folderKey, r.nextFolder++).first;
        r.folderOfKey[Key(volume->second, parent->second)] = folder;
    }
    uint64 const key = Key(volume->second, parent->second);
    if (name.size() > kMaxNameLength)
    {
        // The first 56 bytes, '#' and six hexadecimal digits, unique in the process.
        char mark[8];
        std::snprintf(mark, sizeof mark, "#%06X", unsigned(r.nextLongName++ & 0xFFFFFF));
        name = name.substr(0, kMaxNameLength - 7) + mark;
        r.longNames[LongNameKey(key, name)] = fullPath;
    }
    fileSpec->vRefNum = volume->second;
    fileSpec->parID = parent->second;
    fileSpec->name[0] = static_cast<unsigned char>(name.size());
    std::memcpy(fileSpec->name + 1, name.data(), name.size());
}

bool Sys_FSSpecRegistry::Resolve(FSSpec const& fileSpec, std::string* fullPath)
{
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> lock(r.mutex);
    size_t const length = std::min<size_t>(fileSpec.name[0], kMaxNameLength);
    std::string const name(reinterpret_cast<char const*>(fileSpec.name + 1), length);
    uint64 const key = Key(fileSpec.vRefNum, fileSpec.parID);
    if (auto whole = r.longNames.find(LongNameKey(key, name)); whole != r.longNames.end())
    {
        *fullPath = whole->second;
        return true;
    }
    auto folder = r.folderOfKey.find(key);
    if (folder == r.folderOfKey.end())
        return false;
    *fullPath = folder->second + name;
    return true;
}

void Sys_FSSpecRegistry::Reset()
{
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.volumes.clear();
    r.folders.clear();
    r.folderOfKey.clear();
    r.longNames.clear();
    r.nextFolder = 2;
    r.nextLongName = 1;
}

#include "Sys/Sys_ResourceManager.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <new>
#include <vector>

#include "Cmn/Cmn_TypedException.h"
#include "Sys/FSSpec.h"
#include "Sys/MacFileInfo.h"
#include "Sys/Sys_AppleDouble.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileType.h"
#include "Sys/Sys_MacCompatibility.h"
#include "Sys/Sys_OSErrData.h"
#include "Sys/Sys_ResourceFork.h"
#include "Sys/Sys_StAcquireMutex.h"
#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"

namespace
{

using Handle = Sys_ResourceManager::Handle;

// The manager's own blocks: the handle points at the first member, so the
// size sits right behind the master pointer.
struct Block
{
    char* data;
    int64 size;
};

char** NewOwnBlock(int64 size)
{
    auto* block = new Block{nullptr, size};
    if (size > 0)
    {
        block->data = new (std::nothrow) char[size_t(size)]();
        if (!block->data)
        {
            delete block;
            throw std::bad_alloc();
        }
    }
    return &block->data;
}

void DisposeOwnBlock(char** handle)
{
    auto* block = reinterpret_cast<Block*>(handle);
    delete[] block->data;
    delete block;
}

int64 OwnBlockSize(char** handle)
{
    return reinterpret_cast<Block*>(handle)->size;
}

struct ForkState
{
    std::string dataPath; // the file whose fork this is
    Sys_ResourceFork fork;
    bool writable = false;
    bool dirty = false; // resources added or removed since the last write
};

struct Loaded
{
    int16 ref = 0;
    u32 type = 0;
    int16 id = 0;
    bool changed = false;
};

struct State
{
    std::map<int16, ForkState> forks;
    std::vector<int16> order; // open order, newest last
    std::map<Handle, Loaded> handles;
    int16 current = 0;
    int16 error = 0;
    int16 memError = 0;
    bool load = true;
    Sys_ResourceManager::NewBlockMethod newBlock = &NewOwnBlock;
    Sys_ResourceManager::DisposeBlockMethod disposeBlock = &DisposeOwnBlock;
    Sys_ResourceManager::GetBlockSizeMethod blockSize = &OwnBlockSize;
};

State& S()
{
    static State* state = new State; // lives until the process ends
    return *state;
}

u32 Reversed(u32 v)
{
    return (v >> 24) | ((v >> 8) & 0xFF00) | ((v << 8) & 0xFF0000) | (v << 24);
}

int16 ErrorOf(int32 osErr)
{
    return osErr == 0 ? Sys_ResourceManager::kErrParameter : int16(osErr);
}

// Runs f; a system error becomes its number, anything else a parameter error.
template <class F> int16 Guarded(F&& f)
{
    try
    {
        f();
        return 0;
    }
    catch (Cmn_TypedException<Sys_OSErrData> const& e)
    {
        return ErrorOf(e.GetData().GetErr());
    }
    catch (std::bad_alloc const&)
    {
        return Sys_ResourceManager::kErrMemoryFull;
    }
    catch (...)
    {
        return Sys_ResourceManager::kErrParameter;
    }
}

// Size of a plain file, -1 if there is none (or it is a folder).
int64 FileSize(std::string const& path)
{
    int64 size = -1;
    Guarded(
        [&]
        {
            Sys_FileLoc const loc(path);
            if (Sys_Utils::GetFileType(loc).GetFileType() == Sys_FileType::kTypeFolder)
                return;
            Sys_File file(loc);
            if (!file.IsOnline())
                return;
            Sys_File::StOpen open(&file, Sys_File::kOpenRead | Sys_File::kOpenExisting);
            size = file.GetEOF();
        });
    return size;
}

int16 ReadRange(std::string const& path, int64 offset, int64 length, std::vector<u8>* out)
{
    return Guarded(
        [&]
        {
            Sys_File file{Sys_FileLoc(path)};
            Sys_File::StOpen open(&file, Sys_File::kOpenRead | Sys_File::kOpenExisting);
            out->assign(size_t(length), 0);
            file.SetPosition(Sys_File::kFromStart, offset);
            int64 const got = length ? file.Read(out->data(), length) : 0;
            out->resize(size_t(got));
        });
}

// The parent folder and the name of a path as it stands on disk.
void SplitPath(std::string path, std::string* folder, std::string* name)
{
    if (path.size() > 1 && path.back() == '/')
        path.pop_back();
    size_t const slash = path.rfind('/');
    *folder = path.substr(0, slash + 1);
    *name = path.substr(slash + 1);
}

ForkState* Current()
{
    auto it = S().forks.find(S().current);
    return it == S().forks.end() ? nullptr : &it->second;
}

Loaded* LoadedOf(Handle handle)
{
    auto it = S().handles.find(handle);
    return it == S().handles.end() ? nullptr : &it->second;
}

void CopyIn(Handle handle, std::vector<u8>* data)
{
    int64 const size = handle ? S().blockSize(handle) : 0;
    data->assign(size_t(size), 0);
    if (size > 0)
        std::memcpy(data->data(), *handle, size_t(size));
}

// Puts the contents of a changed handle into its fork's resources.
void Sync(Handle handle, Loaded& loaded)
{
    if (!loaded.changed)
        return;
    ForkState& f = S().forks[loaded.ref];
    if (Sys_ResourceFork::Resource* r = f.fork.Find(loaded.type, loaded.id))
        CopyIn(handle, &r->data);
    loaded.changed = false;
    f.dirty = true;
}

int16 WriteFork(ForkState& f)
{
    std::vector<u8> bytes;
    if (!f.fork.Serialize(&bytes))
        return Sys_ResourceManager::kErrParameter;
    int16 const err = Guarded(
        [&]
        {
            Sys_FileLoc const forkLoc = GetResourceForkLoc(Sys_FileLoc(f.dataPath));
            Sys_Utils::CreateFolder(forkLoc.GetParentFolder());
            // A fork the user may not change stays as it is.
            if (FileSize(forkLoc.GetFullPath()) >= 0)
            {
                Sys_File old(forkLoc);
                Sys_File::StOpen open(&old, Sys_File::kOpenWrite | Sys_File::kOpenExisting);
            }
            // The fork may be all that tells how to read the audio of its
            // file: a full disk or a crash in the middle of its write must
            // leave the old one.
            Sys_Utils::WriteFileWhole(forkLoc, bytes.data(), int64(bytes.size()));
        });
    if (err == ENOSPC)
        return Sys_ResourceManager::kErrDiskFull;
    if (err == 0)
        f.dirty = false;
    return err;
}

int16 WriteChanges(int16 ref)
{
    for (auto& [handle, loaded] : S().handles)
        if (loaded.ref == ref)
            Sync(handle, loaded);
    ForkState& f = S().forks[ref];
    return f.dirty ? WriteFork(f) : 0;
}

bool ResolveSpec(FSSpec const& fileSpec, Sys_FileLoc* loc)
{
    if (FSSpec2Sys_FileLoc(fileSpec, loc))
        return true;
    S().error = Sys_ResourceManager::kErrForkNotFound;
    return false;
}

} // namespace

// ---------------------------------------------------------------- files

int16 Sys_ResourceManager::CurrentFile()
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    S().error = 0;
    return S().current;
}

void Sys_ResourceManager::UseFile(int16 ref)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    if (ref != 0 && !S().forks.count(ref))
    {
        S().error = kErrForkNotFound;
        return;
    }
    S().error = 0;
    S().current = ref;
}

int16 Sys_ResourceManager::OpenFork(FSSpec const& fileSpec, i8 permission)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    Sys_FileLoc loc;
    if (!ResolveSpec(fileSpec, &loc))
        return -1;
    return OpenFork(loc, permission);
}

int16 Sys_ResourceManager::OpenFork(Sys_FileLoc const& file, i8 permission)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    if (permission < 0 || permission > kPermissionReadWrite || !file)
    {
        s.error = kErrParameter;
        return -1;
    }
    bool const write = permission == 0 || (permission & kPermissionWrite) != 0;
    std::string const path = file.GetFullPath();
    for (auto& [ref, f] : s.forks)
        if (f.dataPath == path)
        {
            f.writable = f.writable || write;
            s.current = ref;
            s.error = 0;
            return ref;
        }

    ForkPlace place;
    if (!FindFork(file, &place))
    {
        s.error = kErrForkNotFound;
        return -1;
    }
    if (place.length > kMaxForkSize)
    {
        s.error = kErrMapRead;
        return -1;
    }
    std::vector<u8> bytes;
    if (int16 const err = ReadRange(place.path, place.offset, place.length, &bytes))
    {
        s.error = err;
        return -1;
    }
    ForkState f;
    f.dataPath = path;
    f.writable = write;
    if (!f.fork.Parse(bytes.data(), bytes.size()))
    {
        s.error = kErrMapRead;
        return -1;
    }
    int16 ref = 1;
    while (s.forks.count(ref))
        ++ref;
    if (ref <= 0)
    {
        s.error = kErrParameter;
        return -1;
    }
    s.forks.emplace(ref, std::move(f));
    s.order.push_back(ref);
    s.current = ref;
    s.error = 0;
    return ref;
}

void Sys_ResourceManager::CreateFork(FSSpec const& fileSpec, u32 creator, u32 type, int16 /*script*/)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    Sys_FileLoc loc;
    if (ResolveSpec(fileSpec, &loc))
        CreateFork(loc, creator, type);
}

void Sys_ResourceManager::CreateFork(Sys_FileLoc const& file, u32 creator, u32 type)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    ForkPlace place;
    if (!file)
    {
        s.error = kErrParameter;
        return;
    }
    if (FindFork(file, &place))
    {
        s.error = kErrDuplicateFile;
        return;
    }
    s.error = Guarded(
        [&]
        {
            Sys_File data(file);
            Sys_File::StOpen open(&data, Sys_File::kOpenWrite | Sys_File::kOpenCreate | Sys_File::kOpenExisting);
        });
    if (s.error)
        return;
    ForkState f;
    f.dataPath = file.GetFullPath();
    s.error = WriteFork(f);
    if (s.error == 0 && (type != 0 || creator != 0))
    {
        // The file's Finder info, where its file system keeps it; a file
        // system that keeps none leaves the fork made all the same.
        MacFileInfo info;
        if (info.Open(f.dataPath) == 0)
            info.SetInfo(MacFileInfo::kSetType | MacFileInfo::kSetCreator, Reversed(type), Reversed(creator));
    }
}

void Sys_ResourceManager::CloseFork(int16 ref)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    if (!s.forks.count(ref))
    {
        s.error = kErrForkNotFound;
        return;
    }
    s.error = s.forks[ref].writable ? WriteChanges(ref) : 0;
    for (auto it = s.handles.begin(); it != s.handles.end();)
        if (it->second.ref == ref)
        {
            s.disposeBlock(it->first);
            it = s.handles.erase(it);
        }
        else
            ++it;
    s.forks.erase(ref);
    s.order.erase(std::remove(s.order.begin(), s.order.end(), ref), s.order.end());
    if (s.current == ref)
        s.current = s.order.empty() ? 0 : s.order.back();
}

void Sys_ResourceManager::UpdateFork(int16 ref)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    if (!s.forks.count(ref))
        s.error = kErrForkNotFound;
    else if (!s.forks[ref].writable)
        s.error = kErrWritePermission;
    else
        s.error = WriteChanges(ref);
}

// ---------------------------------------------------------------- resources

Sys_ResourceManager::Handle Sys_ResourceManager::GetString(int16 id)
{
    return GetResource(Sys_ResourceFork::Code("STR "), id);
}

Sys_ResourceManager::Handle Sys_ResourceManager::GetResource(u32 type, int16 id)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    ForkState* const f = Current();
    Sys_ResourceFork::Resource const* const r = f ? f->fork.Find(type, id) : nullptr;
    if (!r)
    {
        s.error = kErrResourceNotFound;
        return nullptr;
    }
    for (auto& [handle, loaded] : s.handles)
        if (loaded.ref == s.current && loaded.type == type && loaded.id == id)
        {
            s.error = 0;
            return handle;
        }
    Handle handle = nullptr;
    s.error = Guarded([&] { handle = s.newBlock(s.load ? int64(r->data.size()) : 0); });
    if (!handle)
        return nullptr;
    if (s.load && !r->data.empty())
        std::memcpy(*handle, r->data.data(), r->data.size());
    s.handles[handle] = Loaded{s.current, type, id, false};
    return handle;
}

void Sys_ResourceManager::SetLoad(bool load)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    S().load = load;
    S().error = 0;
}

void Sys_ResourceManager::AddResource(Handle handle, u32 type, int16 id, unsigned char const* name)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    ForkState* const f = Current();
    if (!f)
    {
        s.error = kErrForkNotFound;
        return;
    }
    if (!f->writable)
    {
        s.error = kErrWritePermission;
        return;
    }
    if (!handle || s.handles.count(handle))
    {
        s.error = kErrAddFailed;
        return;
    }
    Sys_ResourceFork::Resource r;
    r.type = type;
    r.id = id;
    if (name && name[0] > 0)
    {
        r.hasName = true;
        r.name.assign(reinterpret_cast<char const*>(name + 1), name[0]);
    }
    CopyIn(handle, &r.data);
    f->fork.Add(std::move(r));
    f->dirty = true;
    s.handles[handle] = Loaded{s.current, type, id, true};
    s.error = 0;
}

void Sys_ResourceManager::RemoveResource(Handle handle)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    Loaded* const loaded = LoadedOf(handle);
    if (!loaded)
    {
        s.error = kErrRemoveFailed;
        return;
    }
    ForkState& f = s.forks[loaded->ref];
    if (!f.writable)
    {
        s.error = kErrWritePermission;
        return;
    }
    f.fork.Remove(loaded->type, loaded->id);
    f.dirty = true;
    s.handles.erase(handle);
    s.error = 0;
}

void Sys_ResourceManager::MarkChanged(Handle handle)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    Loaded* const loaded = LoadedOf(handle);
    if (!loaded)
        s.error = kErrResourceNotFound;
    else if (!s.forks[loaded->ref].writable)
        s.error = kErrWritePermission;
    else
    {
        loaded->changed = true;
        s.error = 0;
    }
}

void Sys_ResourceManager::WriteResource(Handle handle)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    Loaded* const loaded = LoadedOf(handle);
    if (!loaded)
    {
        s.error = kErrResourceNotFound;
        return;
    }
    s.error = 0;
    if (!loaded->changed)
        return;
    Sync(handle, *loaded);
    s.error = WriteFork(s.forks[loaded->ref]);
    if (s.error)
        loaded->changed = true; // still to be written
}

void Sys_ResourceManager::ReleaseResource(Handle handle)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    Loaded* const loaded = LoadedOf(handle);
    if (!loaded)
        s.error = kErrResourceNotFound;
    else if (loaded->changed)
        s.error = kErrAttribute;
    else
    {
        s.handles.erase(handle);
        s.disposeBlock(handle);
        s.error = 0;
    }
}

void Sys_ResourceManager::DetachResource(Handle handle)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    Loaded* const loaded = LoadedOf(handle);
    if (!loaded)
        s.error = kErrResourceNotFound;
    else if (loaded->changed)
        s.error = kErrAttribute;
    else
    {
        s.handles.erase(handle);
        s.error = 0;
    }
}

bool Sys_ResourceManager::GetResourceInfo(Handle handle, u32* type, int16* id, std::string* name)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    Loaded* const loaded = LoadedOf(handle);
    Sys_ResourceFork::Resource const* const r =
        loaded ? s.forks[loaded->ref].fork.Find(loaded->type, loaded->id) : nullptr;
    if (!r)
    {
        s.error = kErrResourceNotFound;
        return false;
    }
    *type = r->type;
    *id = r->id;
    *name = r->name;
    s.error = 0;
    return true;
}

int16 Sys_ResourceManager::GetError()
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    return S().error;
}

// ---------------------------------------------------------------- blocks

Sys_ResourceManager::Handle Sys_ResourceManager::NewHandle(int64 size)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    Handle handle = nullptr;
    if (size < 0)
    {
        s.memError = kErrParameter;
        return nullptr;
    }
    s.memError = Guarded([&] { handle = s.newBlock(size); });
    if (s.memError)
        s.memError = kErrMemoryFull;
    return handle;
}

void Sys_ResourceManager::DisposeHandle(Handle handle)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    s.memError = 0;
    if (!handle)
        return;
    // A resource's handle disposed of directly: the manager forgets it, as
    // if it had been released, so nothing is left pointing at freed memory.
    s.handles.erase(handle);
    s.disposeBlock(handle);
}

int64 Sys_ResourceManager::GetHandleSize(Handle handle)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    S().memError = handle ? 0 : kErrParameter;
    return handle ? S().blockSize(handle) : 0;
}

int16 Sys_ResourceManager::GetMemError()
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    return S().memError;
}

void Sys_ResourceManager::SetBlockMethods(NewBlockMethod newBlock, DisposeBlockMethod dispose, GetBlockSizeMethod size)
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    S().newBlock = newBlock;
    S().disposeBlock = dispose;
    S().blockSize = size;
}

// ---------------------------------------------------------------- places

bool Sys_ResourceManager::FindFork(Sys_FileLoc const& file, ForkPlace* place)
{
    if (!file || file.IsVolumeRoot())
        return false;
    Sys_FileLoc const written = GetResourceForkLoc(file);
    if (written)
    {
        int64 const size = FileSize(written.GetFullPath());
        if (size > 0)
        {
            *place = ForkPlace{written.GetFullPath(), 0, size};
            return true;
        }
    }

    std::string folder, name;
    SplitPath(file.GetFullPath(), &folder, &name);
    std::string const sidecar = folder + "._" + name;
    int64 const sidecarSize = FileSize(sidecar);
    if (sidecarSize >= Sys_AppleDouble::kHeaderSize)
    {
        std::vector<u8> head;
        if (ReadRange(sidecar, 0, Sys_AppleDouble::kHeaderSize, &head) == 0 &&
            head.size() == Sys_AppleDouble::kHeaderSize)
        {
            size_t const need = Sys_AppleDouble::HeaderBytes(head.data());
            Sys_AppleDouble header;
            if (int64(need) <= sidecarSize && ReadRange(sidecar, 0, int64(need), &head) == 0 &&
                header.Parse(head.data(), head.size(), u64(sidecarSize)))
                if (Sys_AppleDouble::Entry const* e = header.Find(Sys_AppleDouble::kEntryResourceFork);
                    e && e->length > 0)
                {
                    *place = ForkPlace{sidecar, e->offset, e->length};
                    return true;
                }
        }
    }

    bool hfs = false;
    Guarded([&] { hfs = file.GetVolume().GetFileSystemType() == Sys_Volume::kFileSystemHFS; });
    if (hfs)
    {
        std::string const rsrc = file.GetFullPath() + "/rsrc";
        int64 const size = FileSize(rsrc);
        if (size > 0)
        {
            *place = ForkPlace{rsrc, 0, size};
            return true;
        }
    }
    return false;
}

void Sys_ResourceManager::Reset()
{
    Sys_StAcquireMutex lock(GetResourceManagerMutex());
    State& s = S();
    for (auto& [handle, loaded] : s.handles)
        s.disposeBlock(handle);
    s.handles.clear();
    s.forks.clear();
    s.order.clear();
    s.current = 0;
    s.error = 0;
    s.memError = 0;
    s.load = true;
}

#pragma once

#include <string>

#include "Cmn/Cmn_Types.h"

class Sys_FileLoc;
struct FSSpec;

// The process-wide resource manager: resource forks opened by number, one
// of them the current file, resources handed out as handles (char**, a
// stable pointer to a block that knows its size), and the last error of
// every call. Nothing throws: a call that fails leaves its code for
// GetError (GetMemError for the block calls), and 0 means none.
//
// Hold GetResourceManagerMutex() across every sequence of calls that relies
// on the current file or the last error; each call takes it as well.
//
// Where forks are: a fork is written to GetResourceForkLoc(file)
// ("Resource.FRK/NAME" beside the file). Opening also reads a fork from an
// AppleDouble "._NAME" sidecar (its resource fork entry) and, on a
// Macintosh volume, from "NAME/rsrc". Opening never writes: a file without
// a fork is refused (kErrForkNotFound), and only CreateFork and writing a
// resource make a fork on disk.
//
// Resource contents are bytes as they lie in the fork: numbers in them are
// the writer's business, and files from Macintosh systems keep them
// big-endian.
class Sys_ResourceManager
{
public:
    using Handle = char**;
    using NewBlockMethod = char** (*)(int64 size); // zero-filled; may throw
    using DisposeBlockMethod = void (*)(char** handle);
    using GetBlockSizeMethod = int64 (*)(char** handle);

    // Permissions of OpenFork.
    static constexpr i8 kPermissionRead = 1;
    static constexpr i8 kPermissionWrite = 2;
    static constexpr i8 kPermissionReadWrite = 3;

    // Error codes of the manager's own; a positive code is the system's
    // error number of a failed read or write (2: no such file).
    static constexpr int16 kNoError = 0;
    static constexpr int16 kErrWritePermission = -61; // the fork is open for reading only
    static constexpr int16 kErrDuplicateFile = -48;   // CreateFork: there is a fork already
    static constexpr int16 kErrParameter = -50;
    static constexpr int16 kErrDiskFull = -34; // no room for the fork; the old one stays
    static constexpr int16 kErrMemoryFull = -108;
    static constexpr int16 kErrResourceNotFound = -192;
    static constexpr int16 kErrForkNotFound = -193; // no such fork, or no such open file number
    static constexpr int16 kErrAddFailed = -194;
    static constexpr int16 kErrRemoveFailed = -196;
    static constexpr int16 kErrAttribute = -198; // a changed resource not written yet
    static constexpr int16 kErrMapRead = -199;   // the fork is damaged

    // ---- files
    // The current file, 0 when there is none.
    static int16 CurrentFile();
    // Makes an open fork (or 0) the current file.
    static void UseFile(int16 ref);
    // Opens the fork of a file and makes it the current file; -1 on failure.
    // A fork that is open already keeps its number (and gains write
    // permission if asked for).
    static int16 OpenFork(FSSpec const& fileSpec, i8 permission);
    static int16 OpenFork(Sys_FileLoc const& file, i8 permission);
    // Writes an empty fork for a file that has none, making the file (empty)
    // if it is missing, and gives the file the Finder type and creator where
    // its file system keeps them. kErrDuplicateFile if a fork can be read
    // already. The script code is accepted and has no meaning here.
    static void CreateFork(FSSpec const& fileSpec, u32 creator, u32 type, int16 script);
    static void CreateFork(Sys_FileLoc const& file, u32 creator, u32 type);
    // Writes what changed and closes; the handles of its resources that are
    // not detached are disposed of.
    static void CloseFork(int16 ref);
    // Writes what changed, keeping the fork open.
    static void UpdateFork(int16 ref);

    // ---- resources of the current file
    // A 'STR ' resource: a handle to a Pascal string.
    static Handle GetString(int16 id);
    // The same handle for as long as it is not released; null if missing.
    static Handle GetResource(u32 type, int16 id);
    // While off, GetResource hands out empty handles: enough to remove.
    static void SetLoad(bool load);
    // Makes a block of the caller's a resource of the current file; name is
    // a Pascal string, null or empty for none. The handle then belongs to
    // the manager.
    static void AddResource(Handle handle, u32 type, int16 id, unsigned char const* name);
    // Takes the resource out of its fork; the handle goes back to the caller.
    static void RemoveResource(Handle handle);
    // Says that the handle's block has new contents (or size).
    static void MarkChanged(Handle handle);
    // Writes the fork if the resource was changed.
    static void WriteResource(Handle handle);
    // Disposes of the handle; the resource stays in its fork.
    static void ReleaseResource(Handle handle);
    // The handle goes to the caller, who disposes of it.
    static void DetachResource(Handle handle);
    // Type, id and name (without its length byte) of a resource's handle.
    static bool GetResourceInfo(Handle handle, u32* type, int16* id, std::string* name);
    static int16 GetError();

    // ---- blocks
    static Handle NewHandle(int64 size);
    // Null is accepted. A resource's handle may be given too: the manager
    // then forgets it, and a change not yet written is lost.
    static void DisposeHandle(Handle handle);
    static int64 GetHandleSize(Handle handle);
    static int16 GetMemError();
    // The allocator of the blocks, for a host whose blocks are of its own
    // kind; by default the manager's.
    static void SetBlockMethods(NewBlockMethod newBlock, DisposeBlockMethod dispose, GetBlockSizeMethod size);

    // ---- where forks are read from
    struct ForkPlace
    {
        std::string path; // the file holding the fork
        int64 offset = 0; // where in it the fork begins
        int64 length = 0;
    };
    // The first fork found for a file: Resource.FRK, then the sidecar, then
    // NAME/rsrc on a Macintosh volume. False if there is none (an empty
    // file is none).
    static bool FindFork(Sys_FileLoc const& file, ForkPlace* place);

    // Closes every fork without writing and forgets every handle: for tests.
    static void Reset();

    static constexpr int64 kMaxForkSize = 64 << 20;
};

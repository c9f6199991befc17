#pragma once

#include <string>
#include <vector>

#include "Cmn/Cmn_Types.h"

// The seam behind MacFileInfo: where a platform keeps the Macintosh side of
// a file. Two mechanisms stand behind it. With wide names the information is
// in streams of the file ("AFP_AfpInfo", "MacOpener_Info") and its fork in
// "AFP_Resource"; otherwise a volume driver answers requests through a
// gateway, a pseudo file that is written and read from its start.
//
// Every call answers a system error number, 0 for success. A stream that
// does not exist, or a file system that keeps no streams, is an error: the
// information is then simply not there.
class Sys_MacFileSystem
{
public:
    virtual ~Sys_MacFileSystem() = default;

    // Which mechanism the platform offers: true for streams.
    virtual bool UsesWideNames() = 0;

    // ---- the gateway
    // The drive a path is on, -1 for none.
    virtual int32 DriveOfPath(std::string const& path) = 0;
    virtual int32 OpenGateway(int32 drive, int64* handle) = 0;
    virtual int32 WriteGateway(int64 handle, u8 const* bytes, size_t size) = 0;
    virtual int32 ReadGateway(int64 handle, u8* bytes, size_t size, size_t* got) = 0;
    virtual void CloseGateway(int64 handle) = 0;

    // ---- streams
    virtual int32 GetAttributes(std::string const& path, bool* isFolder, u64* dataSize) = 0;
    // The size of the file's resource fork, 0 if it has none.
    virtual u64 GetResourceForkSize(std::string const& path) = 0;
    // *writable (if asked for): the stream could be written as well.
    virtual int32 ReadStream(std::string const& path, std::string const& stream, std::vector<u8>* bytes,
                             bool* writable) = 0;
    // Writes bytes at an offset of a stream, making the stream if need be.
    virtual int32 WriteStream(std::string const& path, std::string const& stream, size_t offset,
                              std::vector<u8> const& bytes) = 0;
    // The name of the file in its folder, in 16-bit characters as the
    // directory holds it.
    virtual int32 GetLongName(std::string const& path, std::u16string* name) = 0;
    // Asks the volume to write the file's information out.
    virtual int32 FlushInfo(std::string const& path) = 0;

    // The platform's; set by Sys_Init, replaceable by tests. Not owned.
    static Sys_MacFileSystem* Get();
    static void Set(Sys_MacFileSystem* fileSystem);
};

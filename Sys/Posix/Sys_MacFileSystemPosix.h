#pragma once

#include "Sys/Sys_MacFileSystem.h"

// Where Linux keeps the Macintosh side of a file. The streams are extended
// attributes under the names a Samba server gives them
// ("user.DosStream.AFP_AfpInfo:$DATA"), written and read. Finder info is
// also read where Macs and file servers leave it: a netatalk
// "user.org.netatalk.Metadata" attribute, an AppleDouble "._NAME" sidecar
// (its Finder info entry), "com.apple.FinderInfo" attributes. A file system
// without user attributes has no streams: the information is never there.
// There is no gateway.
class Sys_MacFileSystemPosix : public Sys_MacFileSystem
{
public:
    static void SetPlatformDependentMethods();

    // The name of a stream's attribute.
    static std::string AttributeName(std::string const& stream);

    bool UsesWideNames() override { return true; }
    int32 DriveOfPath(std::string const& path) override;
    int32 OpenGateway(int32 drive, int64* handle) override;
    int32 WriteGateway(int64 handle, u8 const* bytes, size_t size) override;
    int32 ReadGateway(int64 handle, u8* bytes, size_t size, size_t* got) override;
    void CloseGateway(int64 handle) override;
    int32 GetAttributes(std::string const& path, bool* isFolder, u64* dataSize) override;
    u64 GetResourceForkSize(std::string const& path) override;
    int32 ReadStream(std::string const& path, std::string const& stream, std::vector<u8>* bytes,
                     bool* writable) override;
    int32 WriteStream(std::string const& path, std::string const& stream, size_t offset,
                      std::vector<u8> const& bytes) override;
    int32 GetLongName(std::string const& path, std::u16string* name) override;
    int32 FlushInfo(std::string const& path) override;

private:
    // Finder info (32 bytes) from the places other systems keep it, as a
    // stream record; an error number if there is none.
    int32 ReadForeignFinderInfo(std::string const& path, std::vector<u8>* afpInfo);
};

#pragma once

#include <string>

#include "Cmn/Cmn_Types.h"

// What a Macintosh keeps about a file beside its data: Finder information
// (type, creator, flags), the size of each fork and its Macintosh name.
// Read through Sys_MacFileSystem, by whichever of its two mechanisms the
// platform offers. Results are plug-in result codes: 0 for success,
// 0x8007xxxx a system error, 0x80004005 a plain failure. A file without
// such information is no failure: its fields stay empty.
class MacFileInfo
{
public:
    // Requests of the gateway.
    static constexpr u32 kGetInfoRequest = 0xCD4F1390;
    static constexpr u32 kSetInfoRequest = 0xCD4F1394;
    static constexpr size_t kGetInfoBodySize = 0x263;
    // Bits of SetInfo's bitmap.
    static constexpr u16 kSetType = 0x08;
    static constexpr u16 kSetCreator = 0x10;
    // The streams and their sizes.
    static constexpr char kAfpInfoStream[] = "AFP_AfpInfo";
    static constexpr char kOpenerInfoStream[] = "MacOpener_Info";
    static constexpr size_t kAfpInfoSize = 60;
    static constexpr size_t kOpenerInfoSize = 526;
    static constexpr u32 kAfpInfoSignature = 0x00504641;    // "AFP" and a zero byte, little-endian
    static constexpr u32 kOpenerInfoSignature = 0x4D4F496E; // little-endian

    MacFileInfo();
    ~MacFileInfo();
    MacFileInfo(MacFileInfo const&) = delete;
    MacFileInfo& operator=(MacFileInfo const&) = delete;

    // Closes, then reads the information of a file or folder.
    int32 Open(std::string const& path);
    // Sets the type and creator, each if its bit is in the bitmap. The codes
    // are given in the byte order of the stream: the Finder info keeps them
    // big-endian, so a caller reverses a code held as a number first.
    int32 SetInfo(u16 bitmap, u32 type, u32 creator);
    // Lets go of the file, and asks the volume to write changed
    // information out.
    int32 Close();

    // The file type and creator from the Finder info, as numbers with the
    // first character in the high byte; 0 when there is none.
    u32 GetFileType() const;
    u32 GetCreator() const;
    // Just the file type of a file, 0 for none: what deciding the type of a
    // file needs, without the fork sizes and names, whose lookups decide
    // types themselves.
    static u32 ReadFileType(std::string const& path);

    bool mReadOnly = false;       // the information can be read, not written
    bool mNoSeparateName = false; // the name came from the directory
    u8 mAccessRight = 0;
    i16 mVersion = 0;
    bool mIsFile = false;
    u32 mDirectoryNumber = 0; // of a folder
    u8 mFinderInfo[16] = {};  // type at 0, creator at 4, big-endian
    u8 mExtendedFinderInfo[16] = {};
    u64 mDataForkSize = 0;
    u64 mResourceForkSize = 0;
    u32 mFinderFlags = 0; // bit 31: the attribute bits say so
    u16 mNameLength = 0;  // in bytes
    u16 mName[256] = {};

private:
    void Clear();
    int32 OpenWithGateway(std::string const& path);
    int32 OpenWithStreams(std::string const& path);
    // Sends a request and takes the answer's body; its size in *got.
    int32 Request(u32 code, std::string const& payload, u8* body, size_t bodySize, size_t* got);
    std::string NamePayload() const;

    bool mWideNames;
    int64 mGateway = -1;
    bool mStreamOpen = false;
    std::string mPath;
    bool mChanged = false;
};

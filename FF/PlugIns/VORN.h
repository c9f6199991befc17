// The handler of the workstation's own files from its Macintosh side: raw
// big-endian frames in the data fork from its first byte, everything else
// in resources of the file's resource fork. A file is one when its fork
// holds the strings "sample-size", "sample-rate" and "channels" ('STR '
// 1000 to 1002); its name and extension play no part. It stands last in
// the handler table, so it sees only files no other handler took.
//
// Reading never writes: a file without a fork is refused as it is, and
// only Format, Implement and a flush make a fork.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/PlugIn.h"

#include <cstdint>
#include <string>
#include <vector>

class StResourceFork;

class VORN : public PlugIn
{
public:
    static constexpr i16 kResourceId = 1000;
    static constexpr i16 kSampleSizeId = 1000;
    static constexpr i16 kSampleRateId = 1001;
    static constexpr i16 kChannelsId = 1002;

    // The factory of the handler table: a new instance with its first reference.
    static PlugInResult Create(void** object);

    PlugInResult GetFileTypeName(i32 size, char* buffer) override;
    // 0: the audio is big-endian; FF_AudioFile swaps it.
    PlugInResult GetByteOrder(i32* order) override;
    PlugInResult CanImplement(PlugInGuid const* iid) override;
    // The data fork's size and the fork's resources as they lie in it.
    PlugInResult PrintFile(std::ostream& out) override;
    PlugInResult StampWithUmid() override;

    // Nothing goes through the framework's swap helpers; the audio itself is
    // big-endian.
    bool IsBigEndian() override { return false; }
    bool IsLittleEndianAudio() override { return false; }
    PlugInResult DoOpen() override;
    PlugInResult DoFormat() override;
    PlugInResult DoFlush() override;
    PlugInResult DoSetNumSamples(i64 frames) override;
    PlugInResult DoImplement(PlugInGuid const* iid) override;

private:
    VORN() = default;

    using Bytes = std::vector<u8>;

    // The contents of a resource of the current file: 0, the manager's
    // error, or kErrResourceNotFound when there is none.
    static i16 ReadResource(u32 type, i16 id, Bytes* bytes);
    // Puts bytes in place of the resource of that type and id, if any, and
    // writes the fork.
    static i16 ReplaceResource(u32 type, i16 id, std::string const& name, Bytes const& bytes);
    static i16 RemoveResource(u32 type, i16 id);
    i16 WriteUmid();
    PlugInResult Refuse(PlugInResult result, std::string reason);
    // Whether the file's name ends in ".vorn".
    bool NamedVORN();
};

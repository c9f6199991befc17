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

#include "FF/PlugIns/PlugIn.h"

#include <cstdint>
#include <string>
#include <vector>

class StResourceFork;

class VORN : public PlugIn
{
public:
    static constexpr std::int16_t kResourceId = 1000;
    static constexpr std::int16_t kSampleSizeId = 1000;
    static constexpr std::int16_t kSampleRateId = 1001;
    static constexpr std::int16_t kChannelsId = 1002;

    // The factory of the handler table: a new instance with its first reference.
    static PlugInResult Create(void** object);

    PlugInResult GetFileTypeName(std::int32_t size, char* buffer) override;
    // 0: the audio is big-endian; FF_AudioFile swaps it.
    PlugInResult GetByteOrder(std::int32_t* order) override;
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
    PlugInResult DoSetNumSamples(std::int64_t frames) override;
    PlugInResult DoImplement(PlugInGuid const* iid) override;

private:
    VORN() = default;

    using Bytes = std::vector<std::uint8_t>;

    // The contents of a resource of the current file: 0, the manager's
    // error, or kErrResourceNotFound when there is none.
    static std::int16_t ReadResource(std::uint32_t type, std::int16_t id, Bytes* bytes);
    // Puts bytes in place of the resource of that type and id, if any, and
    // writes the fork.
    static std::int16_t ReplaceResource(std::uint32_t type, std::int16_t id, std::string const& name,
                                        Bytes const& bytes);
    static std::int16_t RemoveResource(std::uint32_t type, std::int16_t id);
    std::int16_t WriteUmid();
    PlugInResult Refuse(PlugInResult result, std::string reason);
    // Whether the file's name ends in ".vorn".
    bool NamedVORN();
};

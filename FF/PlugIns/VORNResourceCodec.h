// The contents of the resources of a VORN file's fork, as bytes.
//
// The Macintosh systems that write these files keep every number in a
// resource in their own byte order, which is big-endian; these encoders and
// decoders do the same, so that a file from a Mac reads here and one
// written here reads there. (In memory, the header of an overview block is
// in host order, as every handler keeps it.)
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/PlugInInstrument.h"
#include "FF/PlugIns/PlugInRegion.h"

#include <cstdint>
#include <string>
#include <vector>

class VORNResourceCodec
{
public:
    using Bytes = std::vector<u8>;

    static constexpr std::size_t kUmidSize = 24;
    static constexpr std::size_t kOverviewHeaderSize = 14;
    static constexpr std::size_t kRegionHeaderSize = 18;
    static constexpr std::size_t kRegionRecordSize = 56;
    static constexpr std::size_t kLoopHeaderSize = 8;
    static constexpr std::size_t kLoopRecordSize = 14;
    // What a loop list of another version, or too short for its header,
    // reports as the resource error.
    static constexpr i16 kBadLoopList = -206;

    // 'STR ' resources: a length byte and up to 255 characters. A longer
    // text is cut.
    static Bytes EncodePascalString(std::string const& text);
    // False when the length byte promises more than there is.
    static bool DecodePascalString(Bytes const& bytes, std::string* text);
    // "%d" and "%f" in the C locale, whatever the process's locale.
    static std::string FormatInteger(i64 value);
    static std::string FormatRate(double rate);
    // A decimal number, with blanks around it allowed and nothing else.
    static bool ParseInteger(std::string const& text, i64* value);
    static bool ParseRate(std::string const& text, double* rate);

    // 'umid': a generation of 8 zero bytes, then the 16 bytes of the
    // identifier; `umid` is in memory order (host-order words).
    static Bytes EncodeUmid(u8 const* umid);
    // False for a resource shorter than 24 bytes.
    static bool DecodeUmid(Bytes const& bytes, u8* umid);

    // qxOV: the overview block with its 14-byte header (1, 14, samples per
    // interval, 0) and one channel of 8-bit (max, min) pairs. `block` is the
    // payload behind a 14-byte header, as an overview is kept in memory; the
    // header on disk is made from samplesPerInterval.
    static Bytes EncodeOverview(u8 const* block, std::size_t size, u32 samplesPerInterval);
    // The block in memory: header in host order, payload as it is; false
    // for a resource shorter than its header or with 0 samples per interval.
    static bool DecodeOverview(Bytes const& bytes, Bytes* block, u32* samplesPerInterval);

    // qxRL: an 18-byte header (1, 12, 56, 0, count) and 56 bytes a region.
    // Numbers are cut to their low 32 bits; the name is a Pascal string of
    // up to 31 characters.
    static Bytes EncodeRegions(std::vector<PlugInRegion> const& regions);
    // Regions have no identifier on disk: each gets a fresh one. False, with
    // no region, for a list of another version or record size, or whose
    // size is no whole number of records.
    static bool DecodeRegions(Bytes const& bytes, std::vector<PlugInRegion>* regions);

    // qxLL: an 8-byte header (1, 1, 1, count) and 14 bytes a loop: start,
    // stop, which loop (1 or 2), direction (0x75 forward, 0x76 forward and
    // backward), 0. Loops of type 0 are not written; root note and fine
    // tune have no place.
    static Bytes EncodeLoops(PlugInInstrument const& instrument);
    // 0, or kBadLoopList. Starts from an instrument without loops, root
    // note 60, fine tune 0; records that the resource does not hold whole
    // are not read, and records of another loop number are passed over.
    static i16 DecodeLoops(Bytes const& bytes, PlugInInstrument* instrument);

private:
    VORNResourceCodec() = delete;
};

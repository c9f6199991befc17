// What `vfl info` tells of a file, gathered once and written as text; the
// browser (vfl-gtk) shows the same text.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioFile.h"

#include <string>
#include <utility>
#include <vector>

class Sys_FileLoc;

namespace vfl
{
struct Overview
{
    std::string samplesPerInterval, bitsPerInterval, intervals;
};

struct Facts
{
    std::string path; // as the user named it
    int64 fileSize = -1;
    std::string type;
    FF_AudioFileAttr attr;
    bool known = false;
    std::string volume;
    // The system's own metadata, where the file has it.
    bool identity = false;
    std::string umid, modified;
    uint64 revision = 0;
    bool broadcast = false;
    int64 timeReference = 0;
    std::vector<std::pair<std::string, std::string>> bext; // fields as the file holds them
    std::string unknownReason;
    bool headerIncomplete = false;
    uint32 channelMask = 0;
    std::vector<FF_ImportAudioRegion> regions;
    std::vector<Overview> overviews;
    bool instrument = false;
    FF_AudioInstrumentAttr instrumentAttr;
    // Finder type and creator, where a Macintosh or a file server left them.
    std::string finderType, finderCreator;
};

// Everything about the file at loc; name is how the user called it.
Facts GatherFacts(FF_AudioFile& file, Sys_FileLoc const& loc, std::string const& name);
// The text of `vfl info`, a field a line.
std::string FactsText(Facts const& f);
// h:mm:ss.sss
std::string Duration(FF_AudioFileAttr const& a);
// Bits per second of the audio as it is stored.
int64 BitRate(FF_AudioFileAttr const& a);
char const* LoopName(int type);
} // namespace vfl

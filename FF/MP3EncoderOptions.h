#pragma once

#include "Cmn/Cmn_Types.h"

#include <string>

// The options of an MP3 encoding, process-wide, set with
// FF_MP3AudioFile::SetupMP3Options. The numbered fields are the encoder's
// to interpret; see the encoder's header for what the default one makes of
// them. The file type and creator are carried for the host.
struct MP3EncoderOptions
{
    u8 field1 = 0;
    u8 field2 = 1;
    int32 field3 = 50;
    int32 field4 = 0;
    int32 field5 = 128000;
    int32 field6 = 44100;
    int32 field7 = 1;
    u8 field8 = 1;
    u8 field9 = 0;
    u8 field10 = 1;
    u8 field11 = 1;
    u8 field12 = 0;
    // 1 or 2: a tag at the end of the file; 3: one at the start; else none.
    int32 tagMode = 1;
    std::string tag1;
    std::string tag2;
    std::string tag3;
    std::string tag4;
    int16 tagValue1 = 2000;
    int16 tagValue2 = 1;
    int16 tagValue3 = -1;
    std::string fileType = "MPG3";
    std::string creator = "mAmp";
};

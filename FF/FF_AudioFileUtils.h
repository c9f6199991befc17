#pragma once

#include "Cmn/Cmn_PolymorphicHandle.h"
#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioProcessChain.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileType.h"

#include <vector>

class Sys_Task;

// The long operations on audio files. Each assembles a chain of stages on
// the caller's thread, schedules it on the process threads and hands back
// the chain at once; the caller follows it through the handle (progress,
// Abort, the task status, GetException).
class FF_AudioFileUtils
{
public:
    using ChainHandle = Cmn_PolymorphicHandle<FF_AudioProcessChain, Sys_Task>;

    // The target format of conversions. Set once; it stays for every later
    // conversion. All zero until set, and a conversion then fails.
    struct ConvertAudioFileParams
    {
        int16 bitsPerSample = 0;
        int32 samplesPerSec = 0;
        bool squeeze = false;
        uint32 quality = 0; // 0 linear interpolation; 1 to 4 windowed sinc of 17, 33, 129, 257 taps
    };

    static void SetConvertAudioFileParams(ConvertAudioFileParams const& params);
    static ConvertAudioFileParams const& GetConvertAudioFileParams() { return sConvertAudioFileParams; }

    // One interleaved input or several mono inputs of equal format, from
    // `start` for `length` frames (-1: all); one interleaved output or one
    // mono output per channel, of `type` in the target format.
    // An output that is the same file as an input or as another output is
    // refused (XC_Sys_SystemError, EINVAL, with the two names) before any
    // file is opened for writing.
    static ChainHandle ConvertAudioFiles(std::vector<Sys_FileLoc> inputs, int64 start, int64 length,
                                         std::vector<Sys_FileLoc> outputs, Sys_FileType const& type);
    // The same with a type for each output.
    static ChainHandle ConvertAudioFiles(std::vector<Sys_FileLoc> inputs, int64 start, int64 length,
                                         std::vector<Sys_FileLoc> outputs, std::vector<Sys_FileType> const& types);

    // The waveform overview of channel 0 of a file into `buffer`: for each
    // interval of `samplesPerInterval` frames its maximum and minimum.
    static ChainHandle DecimateWaveform(Sys_FileLoc const& loc, int32 samplesPerInterval, char* buffer);
    // The overviews of several channels in one reading of the file: one
    // decimator for each channel c whose buffers[c] is not null, in a row.
    // Each buffer takes two bytes for every interval begun.
    static ChainHandle DecimateWaveform(Sys_FileLoc const& loc, int32 samplesPerInterval,
                                        std::vector<char*> const& buffers);

    // Output frames of a conversion: the exact ceiling of frames x target /
    // reference, as the sample-rate converter delivers them.
    static int64 OutputFrames(int64 frames, int32 referenceRate, int32 targetRate);

private:
    static ConvertAudioFileParams sConvertAudioFileParams;
};

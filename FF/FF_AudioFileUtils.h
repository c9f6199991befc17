#pragma once

#include "Cmn/Cmn_PolymorphicHandle.h"
#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioProcessChain.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileType.h"

#include <memory>
#include <string>
#include <vector>

class Cmn_IntervalList;
class FF_AudioFile;
class FF_AudioFileAttr;
class Sys_FunctionObject;
class Sys_Task;

// The long operations on audio files. Each assembles a chain of stages on
// the caller's thread, schedules it on the process threads and hands back
// the chain at once; the caller follows it through the handle (progress,
// Abort, the task status, GetException). Compaction alone runs on the
// caller's thread. And the names of new takes.
class FF_AudioFileUtils
{
public:
    enum ECompactMethod
    {
        eCompactInPlace = 0,
        eCompactToNewFile = 1 // declared, not provided: an assertion
    };

    // The copy buffer of a compaction, allocated once for the call.
    static constexpr int32 cCompactBufferBytes = 245760;
    // The most a conversion raises the sample rate, as a factor (2 kHz to
    // 384 kHz is 192): the rate converter's blocks grow with it.
    static constexpr int32 cMaxRateRise = 256;

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

    // Keeps the stretches of `keep` (frames, ends exclusive) and throws the
    // rest away: the kept audio moves together toward the start, in place,
    // and the file is cut behind it. Regions that lie wholly in one kept
    // stretch move with it, under new identifiers; the others are gone. A
    // shortened file is a new piece of media: it gets a new identifier and
    // loses its overviews. `progress` (may be null) is called after each
    // round of the copy; throwing from it stops the work, with the audio
    // partly moved.
    //
    // Stretches beyond the file's end, a file in no known format, one whose
    // length cannot change and stretches longer than the format's sizes
    // record (another tool's AIFF past 4 GiB) are refused before anything
    // is touched.
    // There is no undo. A process killed in the middle leaves a file that
    // opens and reads, whose header may still give the old length. Rounds
    // are of whole frames, so files of any number of channels compact.
    //
    // Returns the file object, closed.
    static std::unique_ptr<FF_AudioFile> CompactAudioFile(Sys_FileLoc const& loc, Cmn_IntervalList const& keep,
                                                          ECompactMethod method, Sys_FunctionObject* progress);
    // How many times a compaction of a file of `attr` calls its progress.
    static int64 CountCompactRounds(FF_AudioFileAttr const& attr, Cmn_IntervalList const& keep);

    // A location in `folder` for a new mono take named `name` (a final ".L"
    // or ".R" is kept as the channel mark) that is not taken yet, and whose
    // name with the extension fits `maxLength` bytes. The name is shortened
    // in readable steps (spaces first, then lower-case vowels, punctuation,
    // lower-case letters, and at last any character, from the end, never
    // the first) and numbered "-1", "-2", ... in front of the channel mark
    // while the name is taken. A negative length left for the name leaves it
    // whole. UTF-8 characters are kept or removed whole. Nothing is created.
    static void GetUniqueMonoAudioFileLoc(Sys_FileLoc const& folder, std::string const& name,
                                          std::string const& extension, Sys_FileLoc* result, int32 maxLength);
    // The same for the two files of a stereo pair, marked ".L" and ".R": both
    // get the same number, the first for which neither is taken.
    static void GetUniqueStereoAudioFileLocs(Sys_FileLoc const& folder, std::string const& name,
                                             std::string const& extension, Sys_FileLoc* left, Sys_FileLoc* right,
                                             int32 maxLength);

    // Output frames of a conversion: the exact ceiling of frames x target /
    // reference, as the sample-rate converter delivers them.
    static int64 OutputFrames(int64 frames, int32 referenceRate, int32 targetRate);

private:
    // Takes characters out of `name` until it is no longer than `limit`
    // bytes; see GetUniqueMonoAudioFileLoc.
    static void Shorten(std::string* name, int32 limit);

    static ConvertAudioFileParams sConvertAudioFileParams;
};

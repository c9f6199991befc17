#include "FF/FF_AudioFileUtils.h"

#include "Cmn/Cmn_AddExceptionContext.h"
#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "Cmn/Cmn_ExceptionCodes.h"
#include "Cmn/Cmn_IntervalList.h"
#include "Cmn/Cmn_TStringXData.h"
#include "Cmn/Cmn_TypedExceptionContext.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioProcessDecimateWaveform.h"
#include "FF/FF_AudioProcessMultimediaSqueezer.h"
#include "FF/FF_AudioProcessReadFiles.h"
#include "FF/FF_AudioProcessRequantize.h"
#include "FF/FF_AudioProcessSRC.h"
#include "FF/FF_AudioProcessUtils.h"
#include "FF/FF_AudioProcessWriteFiles.h"
#include "FF/FF_MP3AudioFile.h"
#include "Sys/Sys_FunctionObject.h"
#include "Sys/Sys_ThrowIfOSErr.h"
#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>

FF_AudioFileUtils::ConvertAudioFileParams FF_AudioFileUtils::sConvertAudioFileParams;

namespace
{
FF_AudioProcessSRC::EQuality QualityFromIndex(uint32 index)
{
    static FF_AudioProcessSRC::EQuality const table[] = {
        FF_AudioProcessSRC::kQualityLinear, FF_AudioProcessSRC::kQualitySinc17, FF_AudioProcessSRC::kQualitySinc33,
        FF_AudioProcessSRC::kQualitySinc129, FF_AudioProcessSRC::kQualitySinc257};
    CMN_ASSERT(index < 5);
    return table[index < 5 ? index : 4];
}

// Refuses a conversion that names one file twice: an output that is also
// an input would be emptied before it is read, and two outputs that are one
// file would each overwrite the other. Files are compared on disk, however
// they are spelt.
void RefuseFilesNamedTwice(std::vector<Sys_FileLoc> const& inputs, std::vector<Sys_FileLoc> const& outputs)
{
    auto refuse = [](std::string const& text)
    {
        try
        {
            Sys_ThrowIfOSErr(EINVAL);
        }
        catch (Cmn_Exception& e)
        {
            Cmn_AddExceptionContext(
                &e, new Cmn_TypedExceptionContext<Cmn_TStringXData>(XC_Cmn_ExceptionContext, Cmn_TStringXData(text)));
            throw;
        }
    };
    for (std::size_t i = 0; i < outputs.size(); ++i)
    {
        for (auto const& input : inputs)
            if (Sys_Utils::IsSameFile(outputs[i], input))
                refuse("The output " + outputs[i].GetFullPath() + " is the same file as the input " +
                       input.GetFullPath() + ".");
        for (std::size_t k = 0; k < i; ++k)
            if (Sys_Utils::IsSameFile(outputs[i], outputs[k]))
                refuse("The output " + outputs[i].GetFullPath() + " is the same file as the output " +
                       outputs[k].GetFullPath() + ".");
    }
}

// Throws `code` with a line that says what was refused.
[[noreturn]] void ThrowRefusal(XC_TypedExceptionCode<Cmn_NullExceptionData> const& code, std::string const& text)
{
    auto e = Cmn_TypedException<Cmn_NullExceptionData>::New(code, Cmn_NullExceptionData());
    Cmn_AddExceptionContext(
        &e, new Cmn_TypedExceptionContext<Cmn_TStringXData>(XC_Cmn_ExceptionContext, Cmn_TStringXData(text)));
    throw e;
}

// The stages carry samples of one to four bytes (`deepest` bits at most),
// and a reader splits at most cMaxInterleavedChannels channels. A header
// outside these (a damaged one, or another tool's) is refused before a
// chain is built or any output made, rather than failing an assertion in a
// stage.
void RefuseWhatNoChainCarries(std::string const& doing, Sys_FileLoc const& loc, FF_AudioFileAttr const& attr,
                              int deepest)
{
    std::string const refused = "While " + doing + " \"" + loc.GetFullPath() + "\": ";
    if (attr.GetBitsPerSample() < 1 || attr.GetBitsPerSample() > deepest)
        ThrowRefusal(XC_FF_FileTypeNotSupported, refused + "samples of " + std::to_string(attr.GetBitsPerSample()) +
                                                     " bits (1 to " + std::to_string(deepest) + " are taken).");
    if (attr.GetNumChannels() < 1 || attr.GetNumChannels() > FF_AudioProcessReadFiles::cMaxInterleavedChannels)
        ThrowRefusal(XC_FF_FileTypeNotSupported, refused + std::to_string(attr.GetNumChannels()) + " channels (1 to " +
                                                     std::to_string(FF_AudioProcessReadFiles::cMaxInterleavedChannels) +
                                                     " are taken).");
}

// Frames the reader of a conversion hands on per turn. The rate converter's
// output block is its input block times the rise in rate: for a steep rise
// the reader's block is halved (it stays a divisor of the read block) until
// the output block is no larger than 16 of the usual ones. The converter
// gives the same samples however its input is cut.
int32 ProcessBlockFrames(int32 inRate, int32 outRate)
{
    int64 constexpr kLargest = 16 * static_cast<int64>(FF_AudioProcessReadFiles::cDefaultProcessBlockSize);
    int32 frames = FF_AudioProcessReadFiles::cDefaultProcessBlockSize;
    while (inRate > 0 && frames % 2 == 0 && static_cast<int64>(frames) * outRate > kLargest * inRate)
        frames /= 2;
    return frames;
}

// Frames per round of a compaction: as many whole frames as the buffer
// holds, and at least one.
int64 CompactRoundFrames(FF_AudioFileAttr const& attr)
{
    int64 const frameBytes = static_cast<int64>(attr.GetBytesPerSample()) * attr.GetNumChannels();
    return frameBytes > 0 ? std::max<int64>(1, FF_AudioFileUtils::cCompactBufferBytes / frameBytes) : 1;
}

// The bytes of each character of a UTF-8 name, in order. A byte that does
// not begin a well-formed sequence is a character of its own, so that a
// name that was valid UTF-8 stays valid whatever is removed.
std::vector<std::string> SplitCharacters(std::string const& name)
{
    std::vector<std::string> characters;
    std::size_t i = 0;
    while (i < name.size())
    {
        auto const lead = static_cast<unsigned char>(name[i]);
        std::size_t const length = lead < 0x80             ? 1
                                   : (lead & 0xE0) == 0xC0 ? 2
                                   : (lead & 0xF0) == 0xE0 ? 3
                                   : (lead & 0xF8) == 0xF0 ? 4
                                                           : 1;
        std::size_t n = 1;
        while (n < length && i + n < name.size() && (static_cast<unsigned char>(name[i + n]) & 0xC0) == 0x80)
            ++n;
        if (n != length)
            n = 1;
        characters.push_back(name.substr(i, n));
        i += n;
    }
    return characters;
}

// Something of that exact name is there.
bool Exists(Sys_FileLoc const& loc)
{
    // The path is worked out here, once: the file object works on a copy of
    // the location, which then takes it along instead of working it out
    // again, and so does the caller's location afterwards.
    loc.GetFullPath();
    return Sys_File(loc).IsOnline();
}

// A stage made on the heap and held through the chain's kind of handle.
template <class T, class... Args> FF_AudioProcess::Handle MakeStage(Args&&... args)
{
    return FF_AudioProcess::Handle(new T(std::forward<Args>(args)...));
}
} // namespace

void FF_AudioFileUtils::SetConvertAudioFileParams(ConvertAudioFileParams const& params)
{
    sConvertAudioFileParams = params;
}

int64 FF_AudioFileUtils::OutputFrames(int64 frames, int32 referenceRate, int32 targetRate)
{
    // Deliberately exact rather than in double precision, so that a file
    // never claims a frame that the converter did not deliver (44100 frames
    // from 44.1 to 48 kHz are 48000, not 48001).
    if (frames <= 0 || referenceRate <= 0 || targetRate <= 0)
        return frames > 0 ? frames : 0;
    __int128 const product = static_cast<__int128>(frames) * targetRate;
    return static_cast<int64>((product + referenceRate - 1) / referenceRate);
}

FF_AudioFileUtils::ChainHandle FF_AudioFileUtils::ConvertAudioFiles(std::vector<Sys_FileLoc> inputs, int64 start,
                                                                    int64 length, std::vector<Sys_FileLoc> outputs,
                                                                    Sys_FileType const& type)
{
    std::vector<Sys_FileType> const types(outputs.size(), type);
    return ConvertAudioFiles(std::move(inputs), start, length, std::move(outputs), types);
}

FF_AudioFileUtils::ChainHandle FF_AudioFileUtils::ConvertAudioFiles(std::vector<Sys_FileLoc> inputs, int64 start,
                                                                    int64 length, std::vector<Sys_FileLoc> outputs,
                                                                    std::vector<Sys_FileType> const& types)
{
    CMN_ASSERT(types.size() == outputs.size());
    RefuseFilesNamedTwice(inputs, outputs);
    ConvertAudioFileParams const params = sConvertAudioFileParams;
    FF_AudioProcessSRC::EQuality const quality = QualityFromIndex(params.quality);

    // The inputs: the first gives the reference, the others must agree with
    // it, and the first that carries a time stamp gives the stamp.
    std::vector<std::unique_ptr<FF_AudioFile>> inputFiles;
    bool haveStamp = false;
    int64 stamp = 0;
    FF_AudioFileAttr reference, attr;
    for (std::size_t i = 0; i < inputs.size(); ++i)
    {
        inputFiles.push_back(std::make_unique<FF_AudioFile>(inputs[i]));
        FF_AudioFile& file = *inputFiles.back();
        if (!haveStamp && file.Implements(FF_AudioFile::eEbuInterface))
        {
            stamp = file.GetSMPTETimeStamp();
            haveStamp = true;
        }
        attr = file.GetAudioFileAttr();
        if (i == 0)
            reference = attr;
        CMN_ASSERT(attr.GetSamplesPerSec() == reference.GetSamplesPerSec() &&
                   attr.GetBitsPerSample() == reference.GetBitsPerSample() &&
                   attr.GetNumChannels() == reference.GetNumChannels() &&
                   attr.GetNumSamples() == reference.GetNumSamples());
    }
    CMN_ASSERT(!inputFiles.empty());

    RefuseWhatNoChainCarries("converting", inputs.front(), attr, 32);
    // The rate converter takes positive rates, and a rise it can make in
    // blocks of a bounded size (a damaged header of 1 Hz made to 22050 Hz
    // would take gigabytes).
    if (attr.GetSamplesPerSec() <= 0 && attr.GetSamplesPerSec() != params.samplesPerSec)
        ThrowRefusal(XC_FF_FileTypeNotSupported, "While converting \"" + inputs.front().GetFullPath() +
                                                     "\": its sample rate of " +
                                                     std::to_string(attr.GetSamplesPerSec()) + " cannot be converted.");
    if (static_cast<int64>(params.samplesPerSec) > static_cast<int64>(cMaxRateRise) * attr.GetSamplesPerSec())
        ThrowRefusal(XC_FF_FileTypeNotSupported, "While converting \"" + inputs.front().GetFullPath() +
                                                     "\": its sample rate of " +
                                                     std::to_string(attr.GetSamplesPerSec()) +
                                                     " Hz cannot be raised to " + std::to_string(params.samplesPerSec) +
                                                     " Hz (" + std::to_string(cMaxRateRise) + " times at most).");

    // Several mono files, or one interleaved file; one interleaved output, or
    // one mono output for each channel.
    int32 channels = attr.GetNumChannels();
    int32 const numInputs = static_cast<int32>(inputs.size());
    int32 const numOutputs = static_cast<int32>(outputs.size());
    CMN_ASSERT(channels == 1 || numInputs == 1);
    CMN_ASSERT(numOutputs == channels || numOutputs == numInputs);
    channels = std::max(channels, numInputs);
    int32 const outputChannels = channels > numOutputs ? channels : 1;

    int64 frames = attr.GetNumSamples();
    // -1 in both halves means everything.
    if ((static_cast<uint32>(length) & static_cast<uint32>(static_cast<uint64>(length) >> 32)) != 0xFFFFFFFFu)
        frames = length;
    double const ratio = static_cast<double>(params.samplesPerSec) / attr.GetSamplesPerSec();
    int64 const outputFrames = OutputFrames(frames, attr.GetSamplesPerSec(), params.samplesPerSec);

    std::vector<std::unique_ptr<FF_AudioFile>> outputFiles;
    for (std::size_t i = 0; i < outputs.size(); ++i)
    {
        Sys_FileLoc const& loc = outputs[i];
        Sys_FileType const& type = types[i < types.size() ? i : 0];
        if (Sys_Utils::AreTypesEquivalent(type, Sys_FileType(std::string("mp3"))))
            outputFiles.push_back(std::make_unique<FF_MP3AudioFile>(loc));
        else
            outputFiles.push_back(std::make_unique<FF_AudioFile>(loc));
        FF_AudioFile& file = *outputFiles.back();
        file.Open(FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite | FF_AudioFile::eOpenCreate);
        file.Format(type, outputChannels, params.samplesPerSec, params.bitsPerSample, outputFrames);
        if (haveStamp && file.Implements(FF_AudioFile::eEbuInterface))
            file.SetSMPTETimeStamp(static_cast<int64>(static_cast<double>(stamp) * ratio));
        // The header is not final yet: the writer stage finishes the file.
        file.Close(false);
    }

    auto const inBits = static_cast<u16>(attr.GetBitsPerSample());
    auto const outBits = static_cast<u16>(params.bitsPerSample);
    ChainHandle chain(new FF_AudioProcessChain());
    chain->Append(MakeStage<FF_AudioProcessReadFiles>(std::move(inputFiles), start, frames,
                                                      ProcessBlockFrames(attr.GetSamplesPerSec(), params.samplesPerSec),
                                                      FF_AudioProcessReadFiles::cDefaultReadBlockSize));
    if (inBits < outBits)
        chain->Append(MakeStage<FF_AudioProcessRequantize>(inBits, outBits));
    if (params.squeeze)
        chain->Append(MakeStage<FF_AudioProcessMultimediaSqueezer>());
    if (attr.GetSamplesPerSec() != params.samplesPerSec)
        chain->Append(MakeStage<FF_AudioProcessSRC>(attr.GetSamplesPerSec(), params.samplesPerSec, quality));
    if (inBits > outBits)
        chain->Append(MakeStage<FF_AudioProcessRequantize>(inBits, outBits));
    auto* writer = new FF_AudioProcessWriteFiles(std::move(outputFiles), 0);
    chain->Append(FF_AudioProcess::Handle(writer));
    // Progress is counted at the writer, in output frames.
    chain->SetGetPercentCompletedObject(new FF_AudioProcessChain::UnitsProcessed<FF_AudioProcessWriteFiles>(writer));
    // Allocating lets the reader check, before the chain runs, that every
    // input holds the stretch to convert. A stretch beyond an input's end is
    // refused here on purpose, as an exception of this call, rather than
    // found short by the reader in the middle of the run.
    chain->Allocate();
    FF_ScheduleChain(chain);
    return chain;
}

FF_AudioFileUtils::ChainHandle FF_AudioFileUtils::DecimateWaveform(Sys_FileLoc const& loc, int32 samplesPerInterval,
                                                                   char* buffer)
{
    std::vector<std::unique_ptr<FF_AudioFile>> files;
    files.push_back(std::make_unique<FF_AudioFile>(loc));
    FF_AudioFileAttr const attr = files.back()->GetAudioFileAttr();
    RefuseWhatNoChainCarries("drawing the overview of", loc, attr, 24);
    int64 const frames = attr.GetNumSamples();

    ChainHandle chain(new FF_AudioProcessChain());
    chain->Append(MakeStage<FF_AudioProcessReadFiles>(std::move(files), 0, frames,
                                                      FF_AudioProcessReadFiles::cDefaultProcessBlockSize,
                                                      FF_AudioProcessReadFiles::cDefaultReadBlockSize));
    // No stage follows the decimator: it fills the caller's buffer.
    auto* decimator = new FF_AudioProcessDecimateWaveform(samplesPerInterval, buffer);
    chain->Append(FF_AudioProcess::Handle(decimator));
    chain->SetGetPercentCompletedObject(
        new FF_AudioProcessChain::UnitsProcessed<FF_AudioProcessDecimateWaveform>(decimator));
    chain->Allocate();
    FF_ScheduleChain(chain);
    return chain;
}

FF_AudioFileUtils::ChainHandle FF_AudioFileUtils::DecimateWaveform(Sys_FileLoc const& loc, int32 samplesPerInterval,
                                                                   std::vector<char*> const& buffers)
{
    std::vector<std::unique_ptr<FF_AudioFile>> files;
    files.push_back(std::make_unique<FF_AudioFile>(loc));
    FF_AudioFileAttr const attr = files.back()->GetAudioFileAttr();
    RefuseWhatNoChainCarries("drawing the overview of", loc, attr, 24);
    CMN_ASSERT(buffers.size() <= static_cast<std::size_t>(attr.GetNumChannels()));

    ChainHandle chain(new FF_AudioProcessChain());
    chain->Append(MakeStage<FF_AudioProcessReadFiles>(std::move(files), 0, attr.GetNumSamples(),
                                                      FF_AudioProcessReadFiles::cDefaultProcessBlockSize,
                                                      FF_AudioProcessReadFiles::cDefaultReadBlockSize));
    // Each decimator passes the stream on unchanged; the last is the sink.
    FF_AudioProcessDecimateWaveform* last = nullptr;
    for (std::size_t c = 0; c < buffers.size(); ++c)
    {
        if (!buffers[c])
            continue;
        last = new FF_AudioProcessDecimateWaveform(samplesPerInterval, buffers[c], static_cast<int32>(c));
        chain->Append(FF_AudioProcess::Handle(last));
    }
    CMN_ASSERT(last != nullptr);
    chain->SetGetPercentCompletedObject(
        new FF_AudioProcessChain::UnitsProcessed<FF_AudioProcessDecimateWaveform>(last));
    chain->Allocate();
    FF_ScheduleChain(chain);
    return chain;
}

// ---------------------------------------------------------------- compaction

int64 FF_AudioFileUtils::CountCompactRounds(FF_AudioFileAttr const& attr, Cmn_IntervalList const& keep)
{
    int64 const perRound = CompactRoundFrames(attr);
    int64 rounds = 0;
    for (auto const& interval : keep)
        rounds += (interval.GetLength() + perRound - 1) / perRound;
    return rounds;
}

std::unique_ptr<FF_AudioFile> FF_AudioFileUtils::CompactAudioFile(Sys_FileLoc const& loc, Cmn_IntervalList const& keep,
                                                                  ECompactMethod method, Sys_FunctionObject* progress)
{
    auto file = std::make_unique<FF_AudioFile>(loc);
    CMN_ASSERT(method == eCompactInPlace);
    if (method != eCompactInPlace)
        return file;

    // Everything that would stop the work half way is refused first: there
    // is no undo once audio has moved.
    std::string const path = loc.GetFullPath();
    if (!file->Implements(FF_AudioFile::eImportExportInterface))
        ThrowRefusal(XC_FF_FileTypeNotSupported,
                     "While compacting \"" + path + "\": not an audio file in a known format.");
    if (!file->Implements(FF_AudioFile::eNativeInterface))
        ThrowRefusal(XC_FF_FileTypeNotSupported,
                     "While compacting \"" + path + "\": the length of a file of this format cannot change.");
    FF_AudioFileAttr const attr = file->GetAudioFileAttr();
    int64 kept = 0;
    for (auto const& interval : keep)
    {
        if (interval.start < 0 || interval.end > attr.GetNumSamples())
            ThrowRefusal(XC_FF_PlugIn_BadParameter, "While compacting \"" + path + "\": frames " +
                                                        std::to_string(interval.start) + " to " +
                                                        std::to_string(interval.end) + " reach beyond its " +
                                                        std::to_string(attr.GetNumSamples()) + " frames.");
        kept += interval.GetLength();
    }
    // Another tool's file may already be longer than its format's sizes
    // record (an AIFF past 4 GiB, its sizes wrapped): the shorter file is
    // written only if its length fits them, and that is known before the
    // audio moves.
    if (kept > file->GetMaxNumSamples())
        ThrowRefusal(XC_FF_PlugIn_BadParameter, "While compacting \"" + path + "\": the " + std::to_string(kept) +
                                                    " frames kept are more than its format's sizes record (" +
                                                    std::to_string(file->GetMaxNumSamples()) + " frames at most).");

    {
        FF_AudioFile::StOpen open(file.get(), FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);

        // The regions come back, shifted, once the audio has moved; until then
        // the file keeps only its whole-file region.
        std::vector<FF_ImportAudioRegion> regions;
        file->GetRegions(&regions, true);
        for (auto const& region : regions)
            if (!region.IsWholeFileRegion())
                file->RemoveRegion(region.GetUmid());

        // Rounds of whole frames: a round sized by the bytes of one sample
        // alone would overrun the buffer with more than one channel.
        int64 const perRound = CompactRoundFrames(attr);
        int64 const frameBytes = static_cast<int64>(attr.GetBytesPerSample()) * attr.GetNumChannels();
        std::vector<char> buffer(static_cast<std::size_t>(std::max<int64>(cCompactBufferBytes, frameBytes)));

        // The stretches ascend, so the destination never overtakes the
        // source and one buffer is enough. The read brings the samples to
        // host order and the write takes them back, so the write may leave
        // the buffer as it likes. A stretch already in its place is not
        // copied onto itself, but its rounds are counted all the same.
        int64 writePosition = 0;
        for (auto const& interval : keep)
        {
            int64 const length = interval.GetLength();
            for (int64 done = 0; done < length;)
            {
                int64 const n = std::min(perRound, length - done);
                if (interval.start != writePosition)
                {
                    file->SampleSetPosition(Sys_File::kFromStart, interval.start + done);
                    file->SampleRead(buffer.data(), n);
                    file->SampleSetPosition(Sys_File::kFromStart, writePosition + done);
                    file->SampleWrite(buffer.data(), n, FF_AudioFile::eLeaveBufferInFileOrder);
                }
                done += n;
                if (progress)
                    (*progress)();
            }
            writePosition += length;
        }

        // Drops the whole-file region and makes one over the new length.
        file->SetNumSamples(writePosition);

        for (auto const& region : regions)
        {
            if (region.IsWholeFileRegion())
                continue;
            auto const start = static_cast<int64>(region.GetStartSample());
            auto const stop = static_cast<int64>(region.GetStopSample());
            // A region ending before it starts (another tool's) has no place.
            if (stop < start || !keep.Contains(Cmn_Interval(start, stop)))
                continue;
            int64 const shift = start - keep.MapFlatToSparse(start);
            // The sync point moves with the region, wherever it lies; one
            // that would fall in front of the file stays at its start rather
            // than wrapping round to a huge unsigned frame.
            int64 const sync = std::max<int64>(0, static_cast<int64>(region.GetSyncSample()) - shift);
            file->AddRegion(region.GetName(), start - shift, stop - shift, sync,
                            static_cast<int64>(region.GetUserTimeStamp()),
                            static_cast<int64>(region.GetOrigTimeStamp()));
        }
        // Leaving the open level writes the metadata behind the audio.
    }
    return file;
}

// ---------------------------------------------------------------- unique names

void FF_AudioFileUtils::Shorten(std::string* name, int32 limit)
{
    if (limit < 0 || name->size() <= static_cast<std::size_t>(limit))
        return;
    auto const isSpace = [](std::string const& c) { return c == " "; };
    auto const never = [](std::string const&) { return false; };
    auto const isVowel = [](std::string const& c)
    { return c.size() == 1 && std::string("aeiou").find(c[0]) != std::string::npos; };
    auto const isPunctuation = [](std::string const& c)
    { return c.size() == 1 && std::string(".,#-").find(c[0]) != std::string::npos; };
    auto const isLower = [](std::string const& c) { return c.size() == 1 && c[0] >= 'a' && c[0] <= 'z'; };
    auto const any = [](std::string const&) { return true; };
    // Doubled characters and digits were meant to go in passes of their
    // own, but their tests could never be met; they are kept as empty
    // passes so that the order of the others is plain to see.
    bool (*const passes[])(std::string const&) = {isSpace, never, isVowel, isPunctuation, isLower, never, any};

    std::vector<std::string> characters = SplitCharacters(*name);
    std::size_t bytes = name->size();
    auto const limitBytes = static_cast<std::size_t>(limit);
    for (auto const pass : passes)
    {
        // From the end back to the second character: the first always stays.
        for (std::size_t i = characters.size(); i-- > 1;)
        {
            if (!pass(characters[i]))
                continue;
            bytes -= characters[i].size();
            characters.erase(characters.begin() + static_cast<std::ptrdiff_t>(i));
            if (bytes <= limitBytes)
                break;
        }
        if (bytes <= limitBytes)
            break;
    }
    name->clear();
    for (auto const& c : characters)
        *name += c;
}

void FF_AudioFileUtils::GetUniqueMonoAudioFileLoc(Sys_FileLoc const& folder, std::string const& name,
                                                  std::string const& extension, Sys_FileLoc* result, int32 maxLength)
{
    std::string root = name;
    std::string suffix;
    if (name.size() >= 2 && (name.ends_with(".L") || name.ends_with(".R")))
    {
        root = name.substr(0, name.size() - 2);
        suffix = name.substr(name.size() - 2);
    }
    auto const extensionLength = static_cast<int32>(extension.empty() ? 0 : extension.size() + 1);
    auto const suffixLength = static_cast<int32>(suffix.size());
    Sys_Volume const volume = folder.GetVolume();

    std::string working = root;
    Shorten(&working, maxLength - (suffixLength + extensionLength));
    *result = Sys_FileLoc(volume, folder, working + suffix, extension);
    for (int64 counter = 1; Exists(*result); ++counter)
    {
        std::string const number = std::to_string(counter);
        working = root;
        Shorten(&working, maxLength - (static_cast<int32>(number.size()) + 1 + extensionLength + suffixLength));
        *result = Sys_FileLoc(volume, folder, working + "-" + number + suffix, extension);
    }
}

void FF_AudioFileUtils::GetUniqueStereoAudioFileLocs(Sys_FileLoc const& folder, std::string const& name,
                                                     std::string const& extension, Sys_FileLoc* left,
                                                     Sys_FileLoc* right, int32 maxLength)
{
    std::string root = name;
    if (name.size() >= 2 && (name.ends_with(".L") || name.ends_with(".R")))
        root = name.substr(0, name.size() - 2);
    auto const extensionLength = static_cast<int32>(extension.empty() ? 0 : extension.size() + 1);
    Sys_Volume const volume = folder.GetVolume();

    // Both sides carry the same number; the right one is looked at only
    // when the left one is free.
    for (int64 counter = 0;; ++counter)
    {
        std::string working = root;
        std::string number;
        if (counter == 0)
            Shorten(&working, maxLength - (extensionLength + 2));
        else
        {
            number = "-" + std::to_string(counter);
            Shorten(&working, maxLength - (static_cast<int32>(number.size()) + 2 + extensionLength));
        }
        *left = Sys_FileLoc(volume, folder, working + number + ".L", extension);
        if (Exists(*left))
            continue;
        *right = Sys_FileLoc(volume, folder, working + number + ".R", extension);
        if (!Exists(*right))
            return;
    }
}

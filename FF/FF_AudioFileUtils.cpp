#include "FF/FF_AudioFileUtils.h"

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioProcessDecimateWaveform.h"
#include "FF/FF_AudioProcessMultimediaSqueezer.h"
#include "FF/FF_AudioProcessReadFiles.h"
#include "FF/FF_AudioProcessRequantize.h"
#include "FF/FF_AudioProcessSRC.h"
#include "FF/FF_AudioProcessUtils.h"
#include "FF/FF_AudioProcessWriteFiles.h"
#include "FF/FF_MP3AudioFile.h"
#include "Sys/Sys_ThrowIfOSErr.h"
#include "Sys/Sys_Utils.h"

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
                                                      FF_AudioProcessReadFiles::cDefaultProcessBlockSize,
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
    int64 const frames = files.back()->GetAudioFileAttr().GetNumSamples();

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

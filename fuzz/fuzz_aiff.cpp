// Feeds arbitrary bytes to the AIFF-C and AIFF handlers through a file in
// memory: parse, ask for the facts and the instrument, read every sample,
// print the chunks, and rewrite the file with identity added.
#include "FF/PlugIns/AIFC.h"
#include "FF/PlugIns/AIFF.h"
#include "FF/PlugIns/PlugInInstrument.h"
#include "Sys/Sys_Init.h"
#include "support/MemoryIFile.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <vector>

namespace
{
void Exercise(PlugInResult (*create)(void**), std::uint8_t const* data, std::size_t size)
{
    MemoryIFile file(std::vector<std::uint8_t>(data, data + size));
    void* object = nullptr;
    create(&object);
    auto* audio = static_cast<IAudioFile*>(object);
    std::ostringstream printed;
    if (audio->SetFile(&file) == S_OK)
    {
        audio->PrintFile(printed);
        if (audio->Open() == S_OK)
        {
            void* p = nullptr;
            if (audio->QueryInterface(IID_IOrvanelAudioFile, &p) == S_OK)
            {
                auto* orvanel = static_cast<IOrvanelAudioFile*>(p);
                PlugInInstrument instrument;
                orvanel->GetInstrumentAttr(&instrument);
                orvanel->Release();
            }
            if (audio->QueryInterface(IID_IImportExportAudioFile, &p) == S_OK)
            {
                auto* ie = static_cast<IImportExportAudioFile*>(p);
                std::uint16_t channels = 0, bits = 0;
                std::int64_t frames = 0;
                ie->GetNumChannels(&channels);
                ie->GetBitsPerSample(&bits);
                ie->GetNumSamples(&frames);
                std::int64_t const frameBytes = (static_cast<std::int64_t>(bits) * channels) / 8;
                // The frame count comes from 'COMM', which the file does not
                // bound: read only what could be there.
                if (frames > 0 && frameBytes > 0 && frames * frameBytes <= static_cast<std::int64_t>(size))
                {
                    std::vector<char> buffer(static_cast<std::size_t>(frames * frameBytes));
                    ie->SampleRead(buffer.data(), frames);
                    ie->SampleSetPosition(2, 1);
                    ie->SampleRead(buffer.data(), 1);
                    // A rewrite, only where its size stays near the input's.
                    if (ie->Implement(&IID_IVelmoraAudioFile) == S_OK)
                        audio->Flush();
                }
                ie->Release();
            }
        }
    }
    audio->Release();
}
} // namespace

// The rewrite makes new media identifiers, which need the system layer.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Sys_Init::Init();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Exercise(&AIFC::Create, data, size);
    Exercise(&AIFF::Create, data, size);
    return 0;
}

// Feeds arbitrary bytes to the WAVE handler through a file in memory:
// parse, ask for the facts, read every sample.
#include "FF/PlugIns/WAVE.h"
#include "support/MemoryIFile.h"

#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    MemoryIFile file(std::vector<std::uint8_t>(data, data + size));
    void* object = nullptr;
    WAVE::Create(&object);
    auto* audio = static_cast<IAudioFile*>(object);
    if (audio->SetFile(&file) == S_OK && audio->Open() == S_OK)
    {
        void* p = nullptr;
        if (audio->QueryInterface(IID_IImportExportAudioFile, &p) == S_OK)
        {
            auto* ie = static_cast<IImportExportAudioFile*>(p);
            std::uint16_t channels = 0, bits = 0;
            std::int64_t frames = 0;
            ie->GetNumChannels(&channels);
            ie->GetBitsPerSample(&bits);
            ie->GetNumSamples(&frames);
            std::int64_t const frameBytes = (static_cast<std::int64_t>(bits) * channels) / 8;
            // The frame count comes from the data size, which the file bounds.
            if (frames > 0 && frameBytes > 0 && frames * frameBytes <= static_cast<std::int64_t>(size))
            {
                std::vector<char> buffer(static_cast<std::size_t>(frames * frameBytes));
                ie->SampleRead(buffer.data(), frames);
                ie->SampleSetPosition(2, 1);
                ie->SampleRead(buffer.data(), 1);
            }
            ie->Release();
        }
    }
    audio->Release();
    return 0;
}

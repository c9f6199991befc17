// The smallest host: start the library, describe one file.
#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    Sys_Init::Init();
    try
    {
        FF_AudioFile file((Sys_FileLoc(argv[1])));
        if (!file.Implements(FF_AudioFile::eImportExportInterface))
        {
            std::printf("unknown\n");
            return 0;
        }
        FF_AudioFileAttr const a = file.GetAudioFileAttr();
        std::printf("%d channels, %d Hz, %d bits, %lld frames\n", a.GetNumChannels(), a.GetSamplesPerSec(),
                    a.GetBitsPerSample(), static_cast<long long>(a.GetNumSamples()));
        return 0;
    }
    catch (Cmn_Exception const& e)
    {
        std::fprintf(stderr, "%s\n", e.GetFullDescription().c_str());
        return 1;
    }
}

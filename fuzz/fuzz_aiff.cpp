// Feeds arbitrary bytes to the AIFF handler through a file in memory: the
// reading and the rewriting of ExerciseHandler.h.
#include "ExerciseHandler.h"
#include "FF/PlugIns/AIFF.h"
#include "Sys/Sys_Init.h"

// The rewrite makes new media identifiers, which need the system layer.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Sys_Init::Init();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Exercise(&AIFF::Create, data, size);
    return 0;
}

// The symbols of a module named by an exception log: the file on disk is
// whatever is there now, so any bytes must give a build id and names or
// nothing, within the file.
#include "Sys/Posix/Sys_ElfSymbolsPosix.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include "InputFile.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const path = vflfuzz::InputFile("module.so", data, size);
    Sys_ElfSymbolsPosix const symbols(path);
    std::string name;
    uint64 displacement = 0;
    for (uint64 offset : {uint64{0}, uint64{0x1100}, uint64{0x1112}, ~uint64{0}})
        symbols.Find(offset, &name, &displacement);
    return 0;
}

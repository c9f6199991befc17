// An exception log as a program leaves it: a count of addresses, the
// addresses, the text and the list of loaded modules. Any bytes are
// described or refused with the library's exception; the modules the list
// names are looked up on disk, as they are for a log of another process.
#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include "InputFile.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Sys_Init::Init();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const path = vflfuzz::InputFile("Log.vlx", data, size);
    try
    {
        Sys_UtilsPosix::DescribeExceptionLogFile(Sys_FileLoc(path));
    }
    catch (Cmn_Exception const&)
    {
    }
    return 0;
}

#include "tools/vfl/SpooledInput.h"

#include "Sys/Sys_File.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Utils.h"
#include "tools/vfl/Files.h"
#include "tools/vfl/Terminal.h"

#include <memory>

namespace vfl
{
SpooledInput::SpooledInput(std::string const& operand) : mName(operand), mPath(operand)
{
    if (!IsStandardInput())
        return;
    CatchInterrupt();
    mPath = MakeFileBeside(Sys_Utils::GetTempFolderLoc().GetFullPath() + "vfl-stdin");
    try
    {
        Sys_File copy{Sys_FileLoc(mPath)};
        Sys_File::StOpen open(&copy, Sys_File::kOpenWrite | Sys_File::kOpenCreate);
        constexpr std::size_t kBlock = 1 << 20;
        std::unique_ptr<char[]> buffer(new char[kBlock]);
        for (bool ended = false; !ended && !Interrupted();)
        {
            std::size_t const got = ReadInput(buffer.get(), kBlock, &ended);
            copy.Write(buffer.get(), static_cast<int64>(got));
        }
    }
    catch (...)
    {
        RemoveFile(mPath);
        throw;
    }
}

SpooledInput::~SpooledInput()
{
    if (IsStandardInput())
        RemoveFile(mPath);
}
} // namespace vfl

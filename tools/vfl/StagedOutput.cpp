#include "tools/vfl/StagedOutput.h"

#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_MacCompatibility.h"
#include "Sys/Sys_Utils.h"
#include "tools/vfl/Files.h"
#include "tools/vfl/ToolSupport.h"

#include <filesystem>

namespace
{
// Empty when the path has no place for a fork.
std::filesystem::path ForkOf(std::string const& path)
{
    try
    {
        Sys_FileLoc const fork = GetResourceForkLoc(vfl::LocationFromArgument(path));
        return fork ? fork.GetFullPath() : std::string();
    }
    catch (std::exception const&)
    {
        return std::filesystem::path();
    }
}
} // namespace

namespace vfl
{
StagedOutput::StagedOutput(std::string const& destination)
    : mDestination(destination), mTarget(destination == "-" ? "-" : ResolveForWriting(destination)),
      mTemporary(
          MakeFileBeside(destination == "-" ? Sys_Utils::GetTempFolderLoc().GetFullPath() + "vfl-stdout" : mTarget))
{
    std::error_code ec;
    mForkFolderExisted = mTarget != "-" && std::filesystem::exists(ForkOf(mTemporary).parent_path(), ec);
}

StagedOutput::~StagedOutput()
{
    if (mCommitted)
        return;
    RemoveFile(mTemporary);
    std::error_code ec;
    std::filesystem::path const fork = ForkOf(mTemporary);
    if (fork.empty())
        return;
    std::filesystem::remove(fork, ec);
    // A folder made for this fork alone goes with it; one that holds other
    // forks stays (removing a folder that is not empty fails).
    if (!mForkFolderExisted)
        std::filesystem::remove(fork.parent_path(), ec);
}

void StagedOutput::Commit()
{
    if (mTarget == "-")
    {
        CopyToStandardOutput(mTemporary);
        return;
    }
    ReplaceFile(mTemporary, mTarget);
    mCommitted = true;
    // The fork follows its file, its new name as durable as the file's; the
    // fork of a file that was replaced would describe what is no longer there.
    std::filesystem::path const fork = ForkOf(mTemporary);
    std::filesystem::path const targetFork = ForkOf(mTarget);
    if (fork.empty() || targetFork.empty())
        return;
    std::error_code ec;
    if (std::filesystem::exists(fork, ec))
        ReplaceFile(fork.string(), targetFork.string());
    else
        std::filesystem::remove(targetFork, ec);
}
} // namespace vfl

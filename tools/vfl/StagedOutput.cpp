#include "tools/vfl/StagedOutput.h"

#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Utils.h"
#include "tools/vfl/Files.h"

namespace vfl
{
StagedOutput::StagedOutput(std::string const& destination)
    : mDestination(destination), mTarget(destination == "-" ? "-" : ResolveForWriting(destination)),
      mTemporary(
          MakeFileBeside(destination == "-" ? Sys_Utils::GetTempFolderLoc().GetFullPath() + "vfl-stdout" : mTarget))
{
}

StagedOutput::~StagedOutput()
{
    if (!mCommitted)
        RemoveFile(mTemporary);
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
}
} // namespace vfl

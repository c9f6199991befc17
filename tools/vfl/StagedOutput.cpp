#include "tools/vfl/StagedOutput.h"

#include "tools/vfl/Files.h"

namespace vfl
{
StagedOutput::StagedOutput(std::string const& destination)
    : mDestination(destination), mTarget(ResolveForWriting(destination)), mTemporary(MakeFileBeside(mTarget))
{
}

StagedOutput::~StagedOutput()
{
    if (!mCommitted)
        RemoveFile(mTemporary);
}

void StagedOutput::Commit()
{
    ReplaceFile(mTemporary, mTarget);
    mCommitted = true;
}
} // namespace vfl

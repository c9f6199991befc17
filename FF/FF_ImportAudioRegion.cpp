#include "FF/FF_ImportAudioRegion.h"

#include <ostream>

FF_ImportAudioRegion::FF_ImportAudioRegion(Sys_FileLoc const& loc, FF_AudioFileAttr const& attr,
                                           std::string const& name, bool isWholeFile, Sys_Umid const& umid,
                                           uint64 start, uint64 stop, uint64 sync, uint64 userStamp, uint64 origStamp,
                                           EImportMethod method)
    : mFileLoc(loc), mAttr(attr), mName(name), mIsWholeFile(isWholeFile), mUmid(umid), mStart(start), mStop(stop),
      mSync(sync), mUserStamp(userStamp), mOrigStamp(origStamp), mImportMethod(method)
{
}

bool FF_ImportAudioRegion::operator==(FF_ImportAudioRegion const& o) const
{
    return mFileLoc == o.mFileLoc && mName == o.mName && mIsWholeFile == o.mIsWholeFile && mUmid == o.mUmid &&
           mStart == o.mStart && mStop == o.mStop && mSync == o.mSync && mUserStamp == o.mUserStamp &&
           mOrigStamp == o.mOrigStamp;
}

void FF_ImportAudioRegion::Print(std::ostream& out) const
{
    out << "Region name: " << mName << "\n"
        << "Start sample: " << static_cast<uint32>(mStart) << "\n"
        << "Stop sample: " << static_cast<uint32>(mStop) << "\n"
        << "Sync sample: " << static_cast<uint32>(mSync) << "\n";
}

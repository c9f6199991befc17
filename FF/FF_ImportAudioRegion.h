#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioFileAttr.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Umid.h"

#include <iosfwd>
#include <string>

// One region of one file, as a caller sees it.
class FF_ImportAudioRegion
{
public:
    enum EImportMethod
    {
        kImportMethodNone = 0,
        kUseInPlace = 1, // a file with the native interface: used where it lies
        kMustImport = 2  // a foreign file: must be imported
    };

    FF_ImportAudioRegion() = default;
    FF_ImportAudioRegion(Sys_FileLoc const& loc, FF_AudioFileAttr const& attr, std::string const& name,
                         bool isWholeFile, Sys_Umid const& umid, uint64 start, uint64 stop, uint64 sync,
                         uint64 userStamp, uint64 origStamp, EImportMethod method);

    Sys_FileLoc const& GetFileLoc() const { return mFileLoc; }
    void SetFileLoc(Sys_FileLoc const& loc) { mFileLoc = loc; }
    FF_AudioFileAttr const& GetAudioFileAttr() const { return mAttr; }
    void SetAudioFileAttr(FF_AudioFileAttr const& attr) { mAttr = attr; }
    std::string const& GetName() const { return mName; }
    void SetName(std::string const& name) { mName = name; }
    bool IsWholeFileRegion() const { return mIsWholeFile; }
    void SetIsWholeFileRegion(bool v) { mIsWholeFile = v; }
    Sys_Umid const& GetUmid() const { return mUmid; }
    void SetUmid(Sys_Umid const& umid) { mUmid = umid; }
    uint64 GetStartSample() const { return mStart; }
    void SetStartSample(uint64 v) { mStart = v; }
    uint64 GetStopSample() const { return mStop; }
    void SetStopSample(uint64 v) { mStop = v; }
    uint64 GetSyncSample() const { return mSync; }
    void SetSyncSample(uint64 v) { mSync = v; }
    uint64 GetUserTimeStamp() const { return mUserStamp; }
    void SetUserTimeStamp(uint64 v) { mUserStamp = v; }
    uint64 GetOrigTimeStamp() const { return mOrigStamp; }
    void SetOrigTimeStamp(uint64 v) { mOrigStamp = v; }
    EImportMethod GetImportMethod() const { return mImportMethod; }
    void SetImportMethod(EImportMethod m) { mImportMethod = m; }

    // Location, name, whole-file flag, id and the five numbers; attributes
    // and import method take no part.
    bool operator==(FF_ImportAudioRegion const& other) const;
    bool operator!=(FF_ImportAudioRegion const& other) const { return !(*this == other); }
    void Print(std::ostream& out) const;

private:
    Sys_FileLoc mFileLoc;
    FF_AudioFileAttr mAttr;
    std::string mName;
    bool mIsWholeFile = false;
    Sys_Umid mUmid;
    uint64 mStart = 0;
    uint64 mStop = 0;
    uint64 mSync = 0;
    uint64 mUserStamp = 0;
    uint64 mOrigStamp = 0;
    EImportMethod mImportMethod = kImportMethodNone;
};

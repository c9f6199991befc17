#include "MMgr/MMgr_FileReference.h"

#include <map>
#include <utility>

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "Cmn/Cmn_NullExceptionData.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileState.h"
#include "MMgr/MMgr_LockingReference.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileAttr.h"

namespace
{

using FilesByUmid = std::map<Sys_Umid, FF_AudioFile*>;
using FilesByLoc = std::map<Sys_FileLoc, FF_AudioFile*>;

// The files of the process. A reference keeps the address of a value: the
// slot. sFilesByUmid owns every file with an identifier, and its entries are
// never erased. sFilesByLoc has every file by where it was bound; it owns
// those without identifier, and for the others holds a second pointer. Its
// entries are never erased either: one that loses its file keeps a null
// value, since references to a file without identifier hold its address.
// Made once and never destroyed, so that no reference outlives them.
FilesByUmid& sFilesByUmid()
{
    static FilesByUmid* const files = new FilesByUmid;
    return *files;
}

FilesByLoc& sFilesByLoc()
{
    static FilesByLoc* const files = new FilesByLoc;
    return *files;
}

// Whether the file in an entry of sFilesByLoc is owned by sFilesByUmid.
bool OwnedByUmid(FF_AudioFile* file)
{
    if (!file->Implements(FF_AudioFile::eVelmoraInterface))
        return false;
    auto const found = sFilesByUmid().find(file->GetUmid());
    return found != sFilesByUmid().end() && found->second == file;
}

// The entry of sFilesByLoc loses its file, which goes if the entry owned it.
void Vacate(FF_AudioFile*& value)
{
    FF_AudioFile* const file = value;
    value = nullptr;
    if (file && !OwnedByUmid(file))
        delete file;
}

// A file without identifier: the object for its location.
FF_AudioFile** BindByLocation(std::unique_ptr<FF_AudioFile> file)
{
    FF_AudioFile*& value = sFilesByLoc()[file->GetFileLoc()];
    Vacate(value);
    value = file.release();
    return &value;
}

// A file with an identifier: the object for it, wherever it lies.
FF_AudioFile** BindByUmid(std::unique_ptr<FF_AudioFile> file, Sys_Umid const& umid)
{
    FF_AudioFile*& slot = sFilesByUmid()[umid];
    if (FF_AudioFile* const old = slot)
    {
        // The same media at another place, or seen anew: its old place no
        // longer leads to it.
        auto const oldPlace = sFilesByLoc().find(old->GetFileLoc());
        CMN_ASSERT(oldPlace != sFilesByLoc().end());
        if (oldPlace != sFilesByLoc().end() && oldPlace->second == old)
            oldPlace->second = nullptr;
        slot = nullptr;
        delete old;
    }
    // The path now belongs to the new file; a file of another identifier
    // that had it stays where it is owned.
    FF_AudioFile*& place = sFilesByLoc()[file->GetFileLoc()];
    Vacate(place);
    slot = file.release();
    place = slot;
    return &slot;
}

} // namespace

MMgr_FileReference::MMgr_FileReference() = default;

MMgr_FileReference::MMgr_FileReference(Sys_FileLoc const& loc) : mState(std::make_unique<FF_AudioFileState>())
{
    SetFileLoc(loc);
}

MMgr_FileReference::MMgr_FileReference(std::unique_ptr<FF_AudioFile> file)
    : mState(std::make_unique<FF_AudioFileState>())
{
    Bind(std::move(file));
    TakeFromFile();
}

MMgr_FileReference::MMgr_FileReference(Sys_Umid const& umid, Sys_FileLoc const& loc, FF_AudioFileAttr const& attr)
    : mState(std::make_unique<FF_AudioFileState>()), mUmid(umid), mLoc(loc), mAttr(attr)
{
    // Nothing leads from an identifier to a file that is not at hand.
    CMN_ASSERT(false);
}

MMgr_FileReference::MMgr_FileReference(MMgr_FileReference const& other)
    : mSlot(other.mSlot), mState(std::make_unique<FF_AudioFileState>())
{
    if (mSlot)
    {
        mUmid = other.mUmid;
        mLoc = other.mLoc;
        mAttr = other.mAttr;
        *mState = *other.mState;
    }
}

MMgr_FileReference& MMgr_FileReference::operator=(MMgr_FileReference const& other)
{
    if (this == &other)
        return *this;
    mSlot = other.mSlot;
    // The block is used again rather than leaked: the copy starts afresh.
    if (!mState)
        mState = std::make_unique<FF_AudioFileState>();
    *mState = FF_AudioFileState();
    if (mSlot)
    {
        mUmid = other.mUmid;
        mLoc = other.mLoc;
        mAttr = other.mAttr;
        *mState = *other.mState;
    }
    return *this;
}

MMgr_FileReference::~MMgr_FileReference() = default;

void MMgr_FileReference::SetFileLoc(Sys_FileLoc const& loc)
{
    mSlot = nullptr;
    if (!mState)
        mState = std::make_unique<FF_AudioFileState>();

    auto const known = sFilesByLoc().find(loc);
    if (known != sFilesByLoc().end() && known->second)
    {
        // The object is good for the file if nothing has modified the file
        // since the object last closed it.
        FF_AudioFile* const file = known->second;
        Sys_File const onDisk(loc);
        if (onDisk.GetFileAttr().GetModified() == file->GetAccessTimeStamp())
        {
            if (file->Implements(FF_AudioFile::eVelmoraInterface))
            {
                auto const found = sFilesByUmid().find(file->GetUmid());
                if (found != sFilesByUmid().end() && found->second == file)
                    mSlot = &found->second;
            }
            else
                mSlot = &known->second; // known by its location alone
        }
    }

    if (!mSlot)
    {
        Bind(std::make_unique<FF_AudioFile>(loc));
    }
    TakeFromFile();
}

void MMgr_FileReference::Bind(std::unique_ptr<FF_AudioFile> file)
{
    CMN_ASSERT(file != nullptr);
    if (!file)
        return;
    // Only audio can be shared: anything else stays out of the tables.
    if (!file->Implements(FF_AudioFile::eImportExportInterface))
        throw Cmn_TypedException<Cmn_NullExceptionData>::New(XC_FF_FileTypeNotSupported, Cmn_NullExceptionData());
    if (file->Implements(FF_AudioFile::eVelmoraInterface))
    {
        mUmid = file->GetUmid();
        mSlot = BindByUmid(std::move(file), mUmid);
    }
    else
    {
        mUmid = Sys_Umid{};
        mSlot = BindByLocation(std::move(file));
    }
}

void MMgr_FileReference::TakeFromFile()
{
    FF_AudioFile* const file = mSlot ? *mSlot : nullptr;
    if (!file)
        return;
    mLoc = file->GetFileLoc();
    mAttr = file->GetAudioFileAttr();
    file->SaveState(mState.get());
}

Sys_FileLoc MMgr_FileReference::GetFileLoc() const
{
    if (!IsOnline())
        return mLoc;
    MMgr_LockingReference const file(*this);
    return file->GetFileLoc();
}

Sys_Umid MMgr_FileReference::GetUmid() const
{
    if (!IsOnline())
        return mUmid;
    MMgr_LockingReference const file(*this);
    return file->GetUmid();
}

FF_AudioFileAttr MMgr_FileReference::GetAudioFileAttr() const
{
    if (!IsOnline())
        return mAttr;
    MMgr_LockingReference const file(*this);
    return file->GetAudioFileAttr();
}

bool MMgr_FileReference::IsOnline() const
{
    return mSlot != nullptr && *mSlot != nullptr;
}

MMgr_FileReference::operator bool() const
{
    return mSlot != nullptr;
}

MMgr_LockingReference MMgr_FileReference::operator->() const
{
    CMN_ASSERT(IsOnline());
    return MMgr_LockingReference(*this);
}

bool MMgr_FileReference::operator==(MMgr_FileReference const& other) const
{
    return mSlot != nullptr && other.mSlot != nullptr && *mSlot == *other.mSlot;
}

bool MMgr_FileReference::operator<(MMgr_FileReference const& other) const
{
    // An empty location sorts first.
    if (!mLoc || !other.mLoc)
        return !mLoc && other.mLoc;
    return mLoc < other.mLoc;
}

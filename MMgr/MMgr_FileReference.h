#pragma once

#include <memory>

#include "FF/FF_AudioFileAttr.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Umid.h"

class FF_AudioFile;
class MMgr_LockingReference;
struct FF_AudioFileState;

// A small value that stands for one audio file shared by many users, on
// many threads, each with a read position of its own:
//
//     MMgr_FileReference take(loc);
//     take->Open(FF_AudioFile::eOpenRead);
//     take->SampleSetPosition(Sys_File::kFromStart, 0);
//     take->SampleRead(buffer, frames); // locked, at this reference's position
//
// Every statement through operator-> holds the file's mutex and puts the file
// at this reference's position for its length (MMgr_LockingReference). Use
// one reference per statement: two references to one file in a statement
// move the file under each other, and two files in one statement can lock
// against another thread doing the same in the other order.
//
// The process keeps one FF_AudioFile per file it has seen. A file with a
// media identifier is the same file wherever it lies: when it turns up at
// another location, or changed on disk, every reference follows at once. A
// file without one is known by its location alone. The objects live to the
// end of the process and hold no open handle between uses. Binding
// (construction, SetFileLoc, assignment) belongs to one thread at a time,
// the host's, and must not run while another thread uses a file that the
// binding replaces.
//
// A reference is empty (never bound), offline (its file was replaced by a
// file that is not the same) or online. Offline, the getters answer what
// they knew at binding.
class MMgr_FileReference
{
public:
    // Empty.
    MMgr_FileReference();
    // Binds the file at loc; see SetFileLoc.
    explicit MMgr_FileReference(Sys_FileLoc const& loc);
    // Binds the given file, which passes to the process's table; it replaces
    // the object that stood for the same identifier or, without one, for the
    // same location. A file in no known format is XC_FF_FileTypeNotSupported.
    explicit MMgr_FileReference(std::unique_ptr<FF_AudioFile> file);
    // For a file that is known but not at hand: there is no way to it here,
    // so this is an assertion.
    MMgr_FileReference(Sys_Umid const& umid, Sys_FileLoc const& loc, FF_AudioFileAttr const& attr);
    // Copies share the file, and start at the source's position, from which
    // they move on by themselves.
    MMgr_FileReference(MMgr_FileReference const& other);
    MMgr_FileReference& operator=(MMgr_FileReference const& other);
    // The file stays in the table.
    ~MMgr_FileReference();

    // Binds this reference to the file at loc. An object the process already
    // has for it is used if the file on disk has not been modified since the
    // object last saw it; otherwise a new object replaces the old one, for
    // every reference to the same identifier. A file in no known format is
    // XC_FF_FileTypeNotSupported; a missing one the system error. A failure
    // leaves the reference empty.
    void SetFileLoc(Sys_FileLoc const& loc);

    // Online, the file's own answers (under its mutex); offline, those of
    // the binding. GetUmid of a file without identifier is an assertion.
    Sys_FileLoc GetFileLoc() const;
    Sys_Umid GetUmid() const;
    FF_AudioFileAttr GetAudioFileAttr() const;

    bool IsOnline() const;
    // Bound: online or offline.
    explicit operator bool() const;
    // The file, locked and at this reference's position until the end of the
    // statement. Offline, an assertion.
    MMgr_LockingReference operator->() const;

    // The same object: two offline references are equal.
    bool operator==(MMgr_FileReference const& other) const;
    bool operator!=(MMgr_FileReference const& other) const { return !(*this == other); }
    // By the location of the binding.
    bool operator<(MMgr_FileReference const& other) const;

private:
    friend class MMgr_LockingReference;

    void Bind(std::unique_ptr<FF_AudioFile> file);
    // The fallback answers and the position, from the file in the slot.
    void TakeFromFile();

    FF_AudioFile** mSlot = nullptr;
    std::unique_ptr<FF_AudioFileState> mState;
    Sys_Umid mUmid{};
    Sys_FileLoc mLoc;
    FF_AudioFileAttr mAttr;
};

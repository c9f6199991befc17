#pragma once

#include <iosfwd>
#include <memory>
#include <string>

#include "Cmn/Cmn_Types.h"

class Sys_FileLocImpl;
class Sys_Volume;

// Names a file or a folder by its path, whether or not it exists. A value:
// copying clones the implementation, which is never shared. Building one
// only copies the path; the canonical form, the volume, the parent, the
// name and the extension are worked out at first use and then kept, even
// if the disk changes afterwards (a path made canonical before its folder
// existed keeps no trailing slash).
//
// On Linux a canonical path is absolute and '/'-separated, without "."
// and ".." and doubled slashes, and a folder's path ends in '/'. The root of
// a location is the mount point of its volume.
//
// Locations compare without regard to case (classic-locale lower case). On
// a case-sensitive file system two files whose names differ only in case
// are therefore the same location to this library. The name answers the
// registered extension in lower case (TAKE.WAV answers TAKE.wav), so code
// that reopens a file uses GetFullPath, never a name put back together.
//
// Not thread-safe, const members included, since they cache: a thread works
// on its own copy.
class Sys_FileLoc
{
public:
    enum EFileNameFormat
    {
        kNameWithExtension = 0,
        kNameWithoutExtension = 1 // any value but 0
    };

    using PathCreateMethod = Sys_FileLocImpl* (*)(std::string const& path);
    using VolumeRootCreateMethod = Sys_FileLocImpl* (*)(Sys_Volume const& volume);
    using IsValidPathMethod = bool (*)(std::string const& path);
    using FullCreateMethod = Sys_FileLocImpl* (*)(Sys_Volume const& volume, Sys_FileLoc const& folder,
                                                  std::string const& name, std::string const& extension);

    // Empty: legal only to be assigned to, destroyed or tested.
    Sys_FileLoc();
    // Takes ownership.
    explicit Sys_FileLoc(Sys_FileLocImpl* impl);
    // A location of a path, through the platform's creator.
    explicit Sys_FileLoc(std::string const& path);
    // The root of a volume.
    explicit Sys_FileLoc(Sys_Volume const& volume);
    // A place given by its parts; it starts with those parts as its cached
    // values, even where the type registry would split the name otherwise.
    Sys_FileLoc(Sys_Volume const& volume, Sys_FileLoc const& folder, std::string const& name,
                std::string const& extension);
    Sys_FileLoc(Sys_FileLoc const& other);
    Sys_FileLoc& operator=(Sys_FileLoc const& other);
    // Moving leaves the source empty; an empty source is allowed here.
    Sys_FileLoc(Sys_FileLoc&& other) noexcept;
    Sys_FileLoc& operator=(Sys_FileLoc&& other) noexcept;
    virtual ~Sys_FileLoc();

    explicit operator bool() const { return mImpl != nullptr; }

    bool IsVolumeRoot() const;
    Sys_Volume GetVolume() const;
    // Not for a volume root.
    Sys_FileLoc GetParentFolder() const;
    std::string GetFileName(EFileNameFormat format = kNameWithExtension) const;
    // Lower case, without the dot; empty unless the registry knows it.
    std::string GetExtension() const;
    std::string GetFullPath() const;
    void Print(std::ostream& os) const;
    Sys_FileLocImpl* GetImpl() const;

    virtual int32 Compare(Sys_FileLoc const& other) const;
    bool operator==(Sys_FileLoc const& other) const { return Compare(other) == 0; }
    bool operator!=(Sys_FileLoc const& other) const { return Compare(other) != 0; }
    bool operator<(Sys_FileLoc const& other) const { return Compare(other) < 0; }

    // True if the text is a path a location can be made of (on Linux an
    // absolute one); asks nothing of the disk.
    static bool IsValidPath(std::string const& path);

    static void SetPathCreateMethod(PathCreateMethod method);
    static void SetIsValidPathMethod(IsValidPathMethod method);
    static void SetVolumeRootCreateMethod(VolumeRootCreateMethod method);
    static void SetFullCreateMethod(FullCreateMethod method);

private:
    Sys_FileLocImpl* Checked() const;

    std::unique_ptr<Sys_FileLocImpl> mImpl;
};

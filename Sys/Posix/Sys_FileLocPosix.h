#pragma once

#include <string>

#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileLocImpl.h"
#include "Sys/Sys_Volume.h"

// A location on Linux. The path is kept as given until the first question;
// then it is made canonical (absolute, '/'-separated, no "." or ".." or
// doubled '/', the folders that exist resolved as the kernel resolves
// them, and a trailing '/' if it names a folder that exists at that
// moment), and at the next question beyond the path the volume, parent,
// name and extension are worked out and kept. Only SetFullPath forgets
// them. The root of a location is the mount point of its volume.
class Sys_FileLocPosix : public Sys_FileLocImpl
{
public:
    // Stores the path; nothing touches the disk yet.
    explicit Sys_FileLocPosix(std::string const& path);
    // A place by its parts, cached from the start.
    Sys_FileLocPosix(Sys_Volume const& volume, Sys_FileLoc const& folder, std::string const& name,
                     std::string const& extension);
    ~Sys_FileLocPosix() override;

    bool IsVolumeRoot() const override;
    Sys_Volume GetVolume() const override;
    Sys_FileLoc GetParentFolder() const override;
    std::string GetFileName(Sys_FileLoc::EFileNameFormat format) const override;
    std::string GetExtension() const override;
    std::string GetFullPath() const override;
    Sys_FileLocImpl* Clone() const override;
    int32 Compare(Sys_FileLocImpl const* other) const override;
    void Print(std::ostream& os) const override;

    // Replaces the path and forgets everything learned about it.
    virtual void SetFullPath(std::string const& path);
    // Takes the path as canonical as it stands.
    void ForceCanonical() { mIsCanonical = true; }

    // Makes a path canonical in place; false, leaving it alone, when it
    // cannot be (a relative path, an empty one, one with a NUL in it). A
    // path on a volume that is not mounted begins with "*:/".
    static bool CanonicalizePath(std::string* path);

    static void SetPlatformDependentMethods();

private:
    static Sys_FileLocImpl* PathCreate(std::string const& path);
    static Sys_FileLocImpl* VolumeRootCreate(Sys_Volume const& volume);
    static Sys_FileLocImpl* FullCreate(Sys_Volume const& volume, Sys_FileLoc const& folder, std::string const& name,
                                       std::string const& extension);

    void CacheValues() const;
    void AssureCachedValues() const;

    mutable std::string mFullPath;
    mutable bool mIsCanonical = false;
    mutable bool mHasCachedValues = false;
    mutable Sys_Volume mVolume;
    mutable Sys_FileLoc mParent;
    mutable std::string mName;
    mutable std::string mExtension;
};

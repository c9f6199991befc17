#include "Sys/Posix/Sys_FileLocPosix.h"

#include <sys/stat.h>

#include <cstdlib>
#include <ostream>
#include <vector>

#include "Cmn/Cmn_Assert.h"
#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Posix/Sys_VolumePosix.h"
#include "Sys/Sys_FileType.h"
#include "Sys/Sys_VolumeAttr.h"

namespace
{

constexpr char kUnmountedRoot[] = "*:";

std::string ToLowerClassic(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

bool IsFolderOnDisk(std::string const& path)
{
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The longest run of the first `count` names that the kernel can resolve,
// resolved: *parts becomes the names of that folder as the kernel reaches
// it, without links, "." or "..". Returns how many names were taken.
size_t ResolveExistingFolders(std::vector<std::string> const& names, size_t count, std::vector<std::string>* parts)
{
    parts->clear();
    for (size_t taken = count; taken > 0; --taken)
    {
        std::string path;
        for (size_t i = 0; i < taken; ++i)
            path += "/" + names[i];
        char* const real = ::realpath(path.c_str(), nullptr);
        if (real == nullptr)
            continue;
        std::string const resolved = real;
        std::free(real);
        for (size_t start = 1; start < resolved.size();)
        {
            size_t const slash = resolved.find('/', start);
            size_t const end = slash == std::string::npos ? resolved.size() : slash;
            parts->push_back(resolved.substr(start, end - start));
            start = end + 1;
        }
        return taken;
    }
    return 0;
}

std::string RootStringOf(Sys_Volume const& volume)
{
    Sys_VolumePosix const* const posix = dynamic_cast<Sys_VolumePosix const*>(volume.GetImpl());
    return posix ? posix->GetVolumeRootString() : std::string(kUnmountedRoot);
}

} // namespace

void Sys_FileLocPosix::SetPlatformDependentMethods()
{
    Sys_FileLoc::SetPathCreateMethod(&Sys_FileLocPosix::PathCreate);
    Sys_FileLoc::SetIsValidPathMethod(
        [](std::string const& path)
        {
            std::string copy = path;
            return CanonicalizePath(&copy);
        });
    Sys_FileLoc::SetVolumeRootCreateMethod(&Sys_FileLocPosix::VolumeRootCreate);
    Sys_FileLoc::SetFullCreateMethod(&Sys_FileLocPosix::FullCreate);
}

Sys_FileLocImpl* Sys_FileLocPosix::PathCreate(std::string const& path)
{
    return new Sys_FileLocPosix(path);
}

Sys_FileLocImpl* Sys_FileLocPosix::VolumeRootCreate(Sys_Volume const& volume)
{
    return new Sys_FileLocPosix(RootStringOf(volume));
}

Sys_FileLocImpl* Sys_FileLocPosix::FullCreate(Sys_Volume const& volume, Sys_FileLoc const& folder,
                                              std::string const& name, std::string const& extension)
{
    return new Sys_FileLocPosix(volume, folder, name, extension);
}

Sys_FileLocPosix::Sys_FileLocPosix(std::string const& path) : mFullPath(path) {}

Sys_FileLocPosix::Sys_FileLocPosix(Sys_Volume const& volume, Sys_FileLoc const& folder, std::string const& name,
                                   std::string const& extension)
    : mVolume(volume), mParent(folder), mName(name), mExtension(extension)
{
    std::string const folderPath = folder.GetFullPath();
    std::string const folderRoot = Sys_VolumePosix::GetRootOfPath(folderPath);
    mFullPath = RootStringOf(volume) + folderPath.substr(folderRoot.size()) + name;
    if (!extension.empty())
        mFullPath += "." + extension;
    mHasCachedValues = true;
}

Sys_FileLocPosix::~Sys_FileLocPosix() = default;

bool Sys_FileLocPosix::CanonicalizePath(std::string* path)
{
    std::string const& raw = *path;
    if (raw.empty() || raw.find('\0') != std::string::npos)
        return false;

    std::string prefix;
    std::string rest;
    if (raw.compare(0, 2, kUnmountedRoot) == 0)
    {
        // Like a drive name without its separator: "*:a" is "*:/a".
        prefix = kUnmountedRoot;
        rest = raw.substr(2);
        if (rest.empty() || rest[0] != '/')
            rest.insert(0, "/");
    }
    else if (raw[0] == '/')
        rest = raw;
    else
        return false; // relative paths have no place here

    // The names of the path, without the empty ones and ".", but with "..".
    std::vector<std::string> names;
    bool endsAsFolder = false;
    size_t start = 0;
    for (;;)
    {
        size_t const slash = rest.find('/', start);
        size_t const end = slash == std::string::npos ? rest.size() : slash;
        std::string const name = rest.substr(start, end - start);
        if (!name.empty() && name != ".")
            names.push_back(name);
        if (slash == std::string::npos)
        {
            endsAsFolder = name.empty() || name == "." || name == "..";
            break;
        }
        start = slash + 1;
    }

    // The folders above the last name are resolved as the kernel resolves
    // them, so that ".." behind a symbolic link leads where the kernel
    // goes; only what does not exist yet is tidied as text. The last name
    // stays as written, link or not: it is an entry of that folder, and
    // removing or copying it acts on that entry. A path on a volume that is
    // not mounted is never looked up (it would be relative).
    size_t const folders = (!names.empty() && names.back() != "..") ? names.size() - 1 : names.size();
    std::vector<std::string> parts;
    size_t resolved = 0;
    if (prefix.empty())
        resolved = ResolveExistingFolders(names, folders, &parts);
    for (size_t i = resolved; i < folders; ++i)
    {
        if (names[i] != "..")
            parts.push_back(names[i]);
        else if (!parts.empty())
            parts.pop_back();
    }
    if (folders < names.size())
        parts.push_back(names.back());

    std::string result = prefix + "/";
    for (size_t i = 0; i < parts.size(); ++i)
    {
        if (i > 0)
            result += '/';
        result += parts[i];
    }
    if (!parts.empty())
    {
        // Only the disk can tell that a path without a trailing '/' is a
        // folder, and only at this moment.
        if (endsAsFolder || (prefix.empty() && IsFolderOnDisk(result)))
            result += '/';
    }
    *path = result;
    return true;
}

std::string Sys_FileLocPosix::GetFullPath() const
{
    if (!mIsCanonical)
    {
        std::string path = mFullPath;
        bool const ok = CanonicalizePath(&path);
        CMN_ASSERT(ok);
        if (ok)
            mFullPath = path;
        mIsCanonical = true;
    }
    return mFullPath;
}

void Sys_FileLocPosix::SetFullPath(std::string const& path)
{
    mFullPath = path;
    mIsCanonical = false;
    mHasCachedValues = false;
}

bool Sys_FileLocPosix::IsVolumeRoot() const
{
    std::string const path = GetFullPath();
    return path.size() <= Sys_VolumePosix::GetRootOfPath(path).size();
}

void Sys_FileLocPosix::AssureCachedValues() const
{
    if (!mHasCachedValues)
        CacheValues();
}

void Sys_FileLocPosix::CacheValues() const
{
    std::string const path = GetFullPath();
    std::string const root = Sys_VolumePosix::GetRootOfPath(path);
    mVolume = Sys_Volume(Sys_VolumePosix::Create(root.c_str()));
    mParent = Sys_FileLoc();
    mName.clear();
    mExtension.clear();

    if (path.size() > root.size())
    {
        std::string trimmed = path;
        if (trimmed.back() == '/')
            trimmed.pop_back();
        size_t const lastSlash = trimmed.rfind('/');
        // The parent keeps its own trailing '/'; it is asked nothing yet.
        mParent = Sys_FileLoc(new Sys_FileLocPosix(trimmed.substr(0, lastSlash + 1)));
        mName = trimmed.substr(lastSlash + 1);

        // An extension is only an extension if the registry knows it, and it
        // comes back in lower case.
        mExtension = Sys_UtilsPosix::GetFileType(path).GetWin32Extension();
        if (!mExtension.empty())
        {
            size_t const last = ToLowerClassic(mName).find_last_of(mExtension);
            CMN_ASSERT(last != std::string::npos && last >= mExtension.size());
            if (last != std::string::npos && last >= mExtension.size())
                mName.resize(last - mExtension.size());
        }
    }
    mHasCachedValues = true;
}

Sys_Volume Sys_FileLocPosix::GetVolume() const
{
    AssureCachedValues();
    return mVolume;
}

Sys_FileLoc Sys_FileLocPosix::GetParentFolder() const
{
    CMN_ASSERT(!IsVolumeRoot());
    AssureCachedValues();
    return mParent;
}

std::string Sys_FileLocPosix::GetFileName(Sys_FileLoc::EFileNameFormat format) const
{
    AssureCachedValues();
    if (format == Sys_FileLoc::kNameWithExtension && !mExtension.empty())
        return mName + "." + mExtension;
    return mName;
}

std::string Sys_FileLocPosix::GetExtension() const
{
    AssureCachedValues();
    return mExtension;
}

Sys_FileLocImpl* Sys_FileLocPosix::Clone() const
{
    Sys_FileLocPosix* const copy = new Sys_FileLocPosix(mFullPath);
    copy->mIsCanonical = mIsCanonical;
    if (mHasCachedValues)
    {
        copy->mVolume = mVolume;
        if (mParent)
            copy->mParent = mParent;
        copy->mName = mName;
        copy->mExtension = mExtension;
        copy->mHasCachedValues = true;
    }
    return copy;
}

int32 Sys_FileLocPosix::Compare(Sys_FileLocImpl const* other) const
{
    int const result = ToLowerClassic(GetFullPath()).compare(ToLowerClassic(other->GetFullPath()));
    return result < 0 ? -1 : (result > 0 ? 1 : 0);
}

void Sys_FileLocPosix::Print(std::ostream& os) const
{
    CacheValues();
    os << "Full Path: " << mFullPath << '\n';
    os << "Volume Name: " << mVolume.GetAttr().GetName() << '\n';
    os << "File Name: " << mName << '\n';
    os << "Extension: " << mExtension << '\n';
    if (!IsVolumeRoot())
    {
        os << '\n' << "Parent Folder: " << '\n';
        mParent.Print(os);
    }
}

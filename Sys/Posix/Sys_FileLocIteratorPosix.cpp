#include "Sys/Posix/Sys_FileLocIteratorPosix.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_FileLocPosix.h"
#include "Sys/Sys_Mutex.h"
#include "Sys/Sys_StAcquireMutex.h"
#include "Sys/Sys_Utils.h"

namespace
{

// How many entries of a folder are read between two looks at Abort.
constexpr size_t kAbortCheckInterval = 256;

char LowerClassic(char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string ToLowerClassic(std::string text)
{
    for (char& c : text)
        c = LowerClassic(c);
    return text;
}

bool GlobMatch(std::string const& pattern, std::string const& name)
{
    // Iterative match with one backtrack point for the last '*': linear in
    // practice and never recursive, whatever the pattern.
    size_t p = 0, n = 0, starP = std::string::npos, starN = 0;
    while (n < name.size())
    {
        if (p < pattern.size() && pattern[p] == '*')
        {
            starP = p++;
            starN = n;
        }
        else if (p < pattern.size() && (pattern[p] == '?' || LowerClassic(pattern[p]) == LowerClassic(name[n])))
        {
            ++p;
            ++n;
        }
        else if (starP != std::string::npos)
        {
            p = starP + 1;
            n = ++starN;
        }
        else
            return false;
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

} // namespace

void Sys_FileLocIteratorPosix::SetPlatformDependentMethods()
{
    Sys_FileLocIterator::SetTypesCreateMethod(&Sys_FileLocIteratorPosix::TypesCreate);
    Sys_FileLocIterator::SetPatternCreateMethod(&Sys_FileLocIteratorPosix::PatternCreate);
}

Sys_FileLocIteratorImpl* Sys_FileLocIteratorPosix::TypesCreate(Sys_FileLoc const& start,
                                                               std::vector<Sys_FileType>& types,
                                                               Sys_FileLocIterator::EIterType iterType)
{
    return new Sys_FileLocIteratorPosix(start, types, iterType);
}

Sys_FileLocIteratorImpl* Sys_FileLocIteratorPosix::PatternCreate(Sys_FileLoc const& start, std::string const& pattern,
                                                                 Sys_FileLocIterator::EIterType iterType)
{
    return new Sys_FileLocIteratorPosix(start, pattern, iterType);
}

bool Sys_FileLocIteratorPosix::MatchesPattern(std::string const& pattern, std::string const& name)
{
    if (GlobMatch(pattern, name))
        return true;
    if (pattern.size() >= 2 && pattern.compare(pattern.size() - 2, 2, ".*") == 0)
        return GlobMatch(pattern.substr(0, pattern.size() - 2), name);
    return false;
}

Sys_FileLocIteratorPosix::Sys_FileLocIteratorPosix(Sys_FileLoc const& start, std::vector<Sys_FileType> const& types,
                                                   Sys_FileLocIterator::EIterType iterType)
    : mTypes(types)
{
    Start(start, iterType);
}

Sys_FileLocIteratorPosix::Sys_FileLocIteratorPosix(Sys_FileLoc const& start, std::string const& pattern,
                                                   Sys_FileLocIterator::EIterType iterType)
    : mPattern(pattern), mUsePattern(true)
{
    Start(start, iterType);
}

Sys_FileLocIteratorPosix::~Sys_FileLocIteratorPosix() = default;

void Sys_FileLocIteratorPosix::Start(Sys_FileLoc const& start, Sys_FileLocIterator::EIterType iterType)
{
    // A path that ends in '/' is of the folder type even when it does not
    // exist; a walk needs a folder that is there.
    std::string path = start.GetFullPath();
    struct stat st;
    bool const isFolder = ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
    if (Sys_Utils::GetFileType(start).GetFileType() != Sys_FileType::kTypeFolder || !isFolder)
        throw Cmn_TypedException<Cmn_NullExceptionData>::New(XC_Sys_BadStartLoc, Cmn_NullExceptionData());
    mStartDevice = static_cast<uint64>(st.st_dev);

    // The start is resolved once, as a canonical location resolves the
    // folders above its name; below it the walk follows no link, so each
    // location it hands out is canonical by construction and costs no
    // lookup of its own.
    if (char* const real = ::realpath(path.c_str(), nullptr))
    {
        path = real;
        std::free(real);
    }

    mFolderMutex.reset(Sys_Mutex::Create(0));
    mFileMutex.reset(Sys_Mutex::Create(0));
    mFolderQueue.push_back(path.back() == '/' ? path : path + "/");
    mWalkSubfolders = iterType == Sys_FileLocIterator::kIterateSubfolders;
}

void Sys_FileLocIteratorPosix::ListFolder(std::string const& folder, std::vector<Entry>* entries) const
{
    entries->clear();
    DIR* const dir = ::opendir(folder.c_str());
    if (!dir)
        return; // unreadable folders are passed over in silence
    size_t seen = 0;
    while (struct dirent* const d = ::readdir(dir))
    {
        if (++seen % kAbortCheckInterval == 0 && mAborted.load())
            break;
        char const* const name = d->d_name;
        // "." and ".." are never handed out, with a filter or without: they
        // name this folder and its parent, not entries of it, and every
        // walk over a tree (a copy, a search, a sum of sizes) would only
        // have to skip them.
        if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0)
            continue;
        Entry entry;
        entry.name = name;
        entry.key = ToLowerClassic(entry.name);
        unsigned char type = d->d_type;
        if (type == DT_UNKNOWN)
        {
            struct stat lst;
            if (::lstat((folder + entry.name).c_str(), &lst) == 0)
                type = S_ISDIR(lst.st_mode) ? DT_DIR : (S_ISLNK(lst.st_mode) ? DT_LNK : DT_REG);
        }
        if (type == DT_DIR)
            entry.isDirectory = entry.isRealFolder = true;
        else if (type == DT_LNK)
        {
            struct stat target;
            entry.isDirectory = ::stat((folder + entry.name).c_str(), &target) == 0 && S_ISDIR(target.st_mode);
        }
        entries->push_back(std::move(entry));
    }
    ::closedir(dir);
    if (mAborted.load() || !SortListing(entries))
        entries->clear(); // the walk ends here
}

bool Sys_FileLocIteratorPosix::SortListing(std::vector<Entry>* entries) const
{
    auto const before = [](Entry const& a, Entry const& b) { return a.key != b.key ? a.key < b.key : a.name < b.name; };
    // Runs sorted on their own, then merged pairwise: a look at Abort
    // between steps, where one sort of a huge folder would be deaf to it.
    constexpr size_t kRun = 2048;
    auto const begin = entries->begin();
    size_t const size = entries->size();
    for (size_t at = 0; at < size; at += kRun)
    {
        if (mAborted.load())
            return false;
        std::sort(begin + at, begin + std::min(size, at + kRun), before);
    }
    for (size_t width = kRun; width < size; width *= 2)
        for (size_t at = 0; at + width < size; at += 2 * width)
        {
            if (mAborted.load())
                return false;
            std::inplace_merge(begin + at, begin + at + width, begin + std::min(size, at + 2 * width), before);
        }
    return true;
}

bool Sys_FileLocIteratorPosix::NextFolder()
{
    if (mFolderQueue.empty() || mAborted.load())
        return false;
    std::string const folder = std::move(mFolderQueue.front());
    mFolderQueue.pop_front();
    {
        Sys_StAcquireMutex lock(mFolderMutex.get());
        mSearchPath = folder;
    }
    ListFolder(folder, &mListing);
    if (mWalkSubfolders)
        for (Entry const& entry : mListing)
        {
            if (!entry.isRealFolder)
                continue; // links to folders are not followed
            std::string next = folder + entry.name + "/";
            if (mStayOnVolume && IsOtherVolume(next))
                continue; // it has a walk of its own
            mFolderQueue.push_back(std::move(next));
        }
    return true;
}

void Sys_FileLocIteratorPosix::StepTypeIndex()
{
    if (!mTypes.empty())
        mTypeIndex = (mTypeIndex + 1) % static_cast<uint32>(mTypes.size());
}

bool Sys_FileLocIteratorPosix::Accept(Entry const& entry)
{
    if (mTypes.empty())
        return true;
    Sys_FileType const& type = mTypes[mTypeIndex];
    if (type.GetFileType() == Sys_FileType::kTypeFolder)
        return entry.isRealFolder;
    if (type == Sys_FileType(Sys_FileType::kTypeFile))
        return !entry.isDirectory;
    return Sys_Utils::AreTypesEquivalent(type, Sys_Utils::GetFileType(mCurrent));
}

void Sys_FileLocIteratorPosix::Advance()
{
    for (;;)
    {
        if (mAborted.load())
            break;

        if (mFileListValid && ++mFileIndex >= mFileList.size())
        {
            mFileListValid = false;
            StepTypeIndex();
        }

        if (!mFileListValid && mTypeIndex == 0 && !NextFolder())
            break;

        if (!mFileListValid)
        {
            std::string pattern = "*";
            if (!mTypes.empty() && !mTypes[mTypeIndex].GetWin32Extension().empty())
                pattern = "*." + mTypes[mTypeIndex].GetWin32Extension();
            else if (mUsePattern)
                pattern = mPattern;
            mFileList.clear();
            for (Entry const& entry : mListing)
                if (MatchesPattern(pattern, entry.name))
                    mFileList.push_back(&entry);
            if (mFileList.empty())
            {
                StepTypeIndex();
                continue;
            }
            mFileIndex = 0;
            mFileListValid = true;
        }

        Entry const& entry = *mFileList[mFileIndex];
        std::string candidate = mSearchPath + entry.name;
        if (entry.isDirectory)
            candidate += '/';
        Sys_FileLocPosix* const impl = new Sys_FileLocPosix(candidate);
        impl->ForceCanonical();
        {
            Sys_StAcquireMutex lock(mFileMutex.get());
            mCurrent = Sys_FileLoc(impl);
            mHasCurrent = true;
        }
        if (Accept(entry))
            return;
    }

    Sys_StAcquireMutex lock(mFileMutex.get());
    mHasCurrent = false;
}

Sys_FileLoc const& Sys_FileLocIteratorPosix::GetCurrent() const
{
    Sys_StAcquireMutex lock(mFileMutex.get());
    CMN_ASSERT(mHasCurrent);
    return mCurrent;
}

bool Sys_FileLocIteratorPosix::HasCurrent()
{
    if (!mStarted)
    {
        mStarted = true;
        Advance();
    }
    Sys_StAcquireMutex lock(mFileMutex.get());
    return mHasCurrent;
}

std::string Sys_FileLocIteratorPosix::GetCurrentSearchPath() const
{
    Sys_StAcquireMutex lock(mFolderMutex.get());
    return mSearchPath;
}

void Sys_FileLocIteratorPosix::Abort()
{
    mAborted.store(true);
}

void Sys_FileLocIteratorPosix::StayOnStartVolume()
{
    mStayOnVolume = true;
}

bool Sys_FileLocIteratorPosix::IsOtherVolume(std::string const& folder) const
{
    // The kernel marks the root of every mount, bind mounts of a folder of
    // the same file system included; an older kernel leaves only the device
    // number to go by. Automounts are not set off by the question.
    struct statx stx;
    if (::statx(AT_FDCWD, folder.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_TYPE, &stx) != 0)
        return false; // not there any more: its listing finds nothing
    if (stx.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT)
        return (stx.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    return static_cast<uint64>(makedev(stx.stx_dev_major, stx.stx_dev_minor)) != mStartDevice;
}

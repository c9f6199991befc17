#include "Sys/Sys_Utils.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <map>
#include <mutex>
#include <set>

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "Cmn/Cmn_StackDumpNull.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileLocIterator.h"
#include "Sys/Sys_ThrowIfOSErr.h"
#include "Sys/Sys_Volume.h"

Sys_Utils::ThreadSafeIncrementMethod Sys_Utils::sThreadSafeIncrement = nullptr;
Sys_Utils::ThreadSafeDecrementMethod Sys_Utils::sThreadSafeDecrement = nullptr;
Sys_Utils::SleepMethod Sys_Utils::sSleep = nullptr;
Sys_Utils::GetFileTypeMethod Sys_Utils::sGetFileType = nullptr;
Sys_Utils::GetVolumeRootFolderLocMethod Sys_Utils::sGetVolumeRootFolderLoc = nullptr;
Sys_Utils::GetUTCMethod Sys_Utils::sGetUTC = nullptr;
Sys_Utils::UTC2StringMethod Sys_Utils::sUTC2String = nullptr;
Sys_Utils::GetTempFolderLocMethod Sys_Utils::sGetTempFolderLoc = nullptr;
Sys_Utils::GetTempFileLocMethod Sys_Utils::sGetTempFileLoc = nullptr;
Sys_Utils::GetDesktopFolderLocMethod Sys_Utils::sGetDesktopFolderLoc = nullptr;
Sys_Utils::CopyFileMethod Sys_Utils::sCopyFile = nullptr;
Sys_Utils::MoveFileMethod Sys_Utils::sMoveFile = nullptr;
Sys_Utils::DeleteFileMethod Sys_Utils::sDeleteFile = nullptr;
Sys_Utils::DeleteFolderMethod Sys_Utils::sDeleteFolder = nullptr;
Sys_Utils::CreateFolderMethod Sys_Utils::sCreateFolder = nullptr;
Sys_Utils::GetNewExceptionLogFileLocMethod Sys_Utils::sGetNewExceptionLogFileLoc = nullptr;
Sys_Utils::WriteExceptionLogFileMethod Sys_Utils::sWriteExceptionLogFile = nullptr;
Sys_Utils::DisplayExceptionLogFileMethod Sys_Utils::sDisplayExceptionLogFile = nullptr;
Sys_Utils::PostFatalExceptionDialogMethod Sys_Utils::sPostFatalExceptionDialog = nullptr;
Sys_Utils::HandleFatalExceptionsMethod Sys_Utils::sHandleFatalExceptions = nullptr;
Sys_Utils::ExitMethod Sys_Utils::sExit = nullptr;
Sys_Utils::InstallSEHandlerMethod Sys_Utils::sInstallSEHandler = nullptr;
Sys_Utils::NameThisThreadMethod Sys_Utils::sNameThisThread = nullptr;
Sys_Utils::BoostThreadPriorityMethod Sys_Utils::sBoostThreadPriority = nullptr;
Sys_Utils::LowerThreadPriorityMethod Sys_Utils::sLowerThreadPriority = nullptr;
Sys_Utils::MicrosecondsMethod Sys_Utils::sMicroseconds = nullptr;
Sys_Utils::GetResourceForkLocMethod Sys_Utils::sGetResourceForkLoc = nullptr;
Sys_Utils::IsSameFileMethod Sys_Utils::sIsSameFile = nullptr;
Sys_Utils::GetMaxFileNameLengthMethod Sys_Utils::sGetMaxFileNameLength = nullptr;
Sys_Utils::GetAppDataFolderLocMethod Sys_Utils::sGetAppDataFolderLoc = nullptr;
Sys_Utils::ReplaceFileMethod Sys_Utils::sReplaceFile = nullptr;

namespace
{

// A service used before Sys_Init::Init() installed it is a programming
// error, reported as an assertion rather than a jump through null.
template <class Method> Method Installed(Method method)
{
    CMN_ASSERT(method != nullptr);
    return method;
}

struct Registry
{
    std::map<Sys_FileType, std::string> knownTypes;
    std::map<Sys_FileType, std::set<Sys_FileType>> equivalentTypes;
};

Registry& GetRegistry()
{
    // Never destroyed: a pass in the background (the types of recent items)
    // may still look a type up while the process exits and its statics go.
    static Registry& registry = *new Registry;
    return registry;
}

int64 RoundUp(int64 size, int64 unit)
{
    return unit > 0 ? (size + unit - 1) / unit * unit : size;
}

// The last name of a location as it stands on disk, not as the type
// registry would spell its extension.
std::string NameOnDisk(Sys_FileLoc const& loc)
{
    std::string path = loc.GetFullPath();
    if (!path.empty() && path.back() == '/')
        path.pop_back();
    return path.substr(path.rfind('/') + 1);
}

} // namespace

// ---------------------------------------------------------------- forwarding

int32 Sys_Utils::ThreadSafeIncrement(volatile int32& value)
{
    return Installed(sThreadSafeIncrement)(value);
}

int32 Sys_Utils::ThreadSafeDecrement(volatile int32& value)
{
    return Installed(sThreadSafeDecrement)(value);
}

void Sys_Utils::Sleep(int32 ms)
{
    Installed(sSleep)(ms);
}

Sys_FileType Sys_Utils::GetFileType(Sys_FileLoc const& loc)
{
    return Installed(sGetFileType)(loc);
}

Sys_FileLoc Sys_Utils::GetVolumeRootFolderLoc(Sys_Volume const& volume)
{
    return Installed(sGetVolumeRootFolderLoc)(volume);
}

int64 Sys_Utils::GetUTC()
{
    return Installed(sGetUTC)();
}

std::string Sys_Utils::UTC2String(int64 utc)
{
    return Installed(sUTC2String)(utc);
}

Sys_FileLoc Sys_Utils::GetTempFolderLoc()
{
    return Installed(sGetTempFolderLoc)();
}

Sys_FileLoc Sys_Utils::GetTempFileLoc()
{
    return Installed(sGetTempFileLoc)();
}

Sys_FileLoc Sys_Utils::GetDesktopFolderLoc()
{
    return Installed(sGetDesktopFolderLoc)();
}

void Sys_Utils::CopyFile(Sys_FileLoc const& from, Sys_FileLoc const& to)
{
    Installed(sCopyFile)(from, to);
}

void Sys_Utils::MoveFile(Sys_FileLoc const& from, Sys_FileLoc const& to)
{
    Installed(sMoveFile)(from, to);
}

void Sys_Utils::DeleteFile(Sys_FileLoc const& loc)
{
    Installed(sDeleteFile)(loc);
}

void Sys_Utils::DeleteFolder(Sys_FileLoc const& loc)
{
    Installed(sDeleteFolder)(loc);
}

void Sys_Utils::CreateFolder(Sys_FileLoc const& loc)
{
    Installed(sCreateFolder)(loc);
}

Sys_FileLoc Sys_Utils::GetNewExceptionLogFileLoc()
{
    return Installed(sGetNewExceptionLogFileLoc)();
}

void Sys_Utils::WriteExceptionLogFile(Sys_FileLoc const& loc, Cmn_Exception const* exception)
{
    Installed(sWriteExceptionLogFile)(loc, exception);
}

void Sys_Utils::DisplayExceptionLogFile(Sys_FileLoc const& loc)
{
    Installed(sDisplayExceptionLogFile)(loc);
}

void Sys_Utils::PostFatalExceptionDialog(Sys_FileLoc* loc)
{
    Installed(sPostFatalExceptionDialog)(loc);
}

bool Sys_Utils::HandleFatalExceptions()
{
    return Installed(sHandleFatalExceptions)();
}

void Sys_Utils::Exit()
{
    Installed(sExit)();
}

void Sys_Utils::InstallSEHandler()
{
    Installed(sInstallSEHandler)();
}

void Sys_Utils::NameThisThread(std::string const& name)
{
    Installed(sNameThisThread)(name);
}

bool Sys_Utils::HandleFatalException(std::exception& e)
{
    if (!HandleFatalExceptions())
        return false;
    // The first thread to get here ends the process; another one waits for
    // that. Recursive: the end of the process may come back here on the
    // same thread (a static destructor that throws). Never destroyed.
    static std::recursive_mutex* sOneAtATime = new std::recursive_mutex();
    std::lock_guard<std::recursive_mutex> oneAtATime(*sOneAtATime);
    try
    {
        Sys_FileLoc loc = GetNewExceptionLogFileLoc();
        // The log goes to a location asked for a second time, while the
        // message names the first: the two differ only when the clock has
        // moved between the calls. Kept so for the order of the calls.
        if (auto* exception = dynamic_cast<Cmn_Exception*>(&e))
        {
            WriteExceptionLogFile(GetNewExceptionLogFileLoc(), exception);
        }
        else
        {
            // Not one of ours: the log is made and stays empty, and the
            // write throws, so that the message comes without a location.
            WriteExceptionLogFile(GetNewExceptionLogFileLoc(), nullptr);
        }
        PostFatalExceptionDialog(&loc);
    }
    catch (...)
    {
        try
        {
            PostFatalExceptionDialog(nullptr);
        }
        catch (...)
        {
        }
    }
    Exit();
    return false;
}

bool Sys_Utils::HandleFatalException()
{
    if (!HandleFatalExceptions())
        return false;
    // The stack of an exception of unknown type is gone by now.
    auto unknown = Cmn_TypedException<Cmn_NullExceptionData>::New(XC_Sys_UnknownException, Cmn_NullExceptionData(),
                                                                  new Cmn_StackDumpNull());
    return HandleFatalException(unknown);
}

void Sys_Utils::BoostThreadPriority()
{
    Installed(sBoostThreadPriority)();
}

void Sys_Utils::LowerThreadPriority()
{
    Installed(sLowerThreadPriority)();
}

int64 Sys_Utils::Microseconds()
{
    return Installed(sMicroseconds)();
}

Sys_FileLoc Sys_Utils::GetResourceForkLoc(Sys_FileLoc const& loc)
{
    return Installed(sGetResourceForkLoc)(loc);
}

bool Sys_Utils::IsSameFile(Sys_FileLoc const& a, Sys_FileLoc const& b)
{
    return Installed(sIsSameFile)(a, b);
}

int32 Sys_Utils::GetMaxFileNameLength(Sys_FileLoc const& folder)
{
    return Installed(sGetMaxFileNameLength)(folder);
}

Sys_FileLoc Sys_Utils::GetAppDataFolderLoc()
{
    return Installed(sGetAppDataFolderLoc)();
}

void Sys_Utils::WriteFileWhole(Sys_FileLoc const& file, void const* bytes, int64 size)
{
    // Unique among the writers of this process; another process writing
    // the same file at the same moment picks another time.
    static std::atomic<uint32> sCount{0};
    char suffix[48];
    std::snprintf(suffix, sizeof suffix, ".%llx-%x.new", static_cast<unsigned long long>(GetUTC()),
                  sCount.fetch_add(1));
    Sys_FileLoc const temporary(file.GetFullPath() + suffix);
    try
    {
        Sys_File f(temporary);
        {
            Sys_File::StOpen open(&f, Sys_File::kOpenWrite | Sys_File::kOpenCreate | Sys_File::kOpenWriteThrough);
            if (f.Write(bytes, size) != size)
                Sys_ThrowIfOSErr(ENOSPC);
        }
        ReplaceFile(temporary, file);
    }
    catch (...)
    {
        DeleteFile(temporary);
        throw;
    }
}

void Sys_Utils::ReplaceFile(Sys_FileLoc const& from, Sys_FileLoc const& to)
{
    Installed(sReplaceFile)(from, to);
}

// ---------------------------------------------------------------- copying

int64 Sys_Utils::GetSpaceRequiredToCopyFile(Sys_FileLoc const& loc, Sys_Volume const& volume)
{
    int64 const unit = volume.GetMinimumAllocationSize();
    int64 total = 0;
    int64 const size = Sys_File(loc).GetFileAttr().GetSize();
    if (size != 0)
        total = RoundUp(size, unit);
    // The resource fork of a file that came from a Macintosh, where the
    // platform keeps it.
    Sys_FileLoc const fork = GetResourceForkLoc(loc);
    if (fork)
    {
        Sys_File resource(fork);
        if (resource.IsOnline())
            total += RoundUp(resource.GetFileAttr().GetSize(), unit);
    }
    total += total / 30;
    return total;
}

int64 Sys_Utils::GetSpaceRequiredToCopyFolder(Sys_FileLoc const& loc, Sys_Volume const& volume, bool recursive)
{
    std::vector<Sys_FileType> files(1, Sys_FileType(Sys_FileType::kTypeFile));
    int64 total = 0;
    for (Sys_FileLocIterator it(
             loc, files, recursive ? Sys_FileLocIterator::kIterateSubfolders : Sys_FileLocIterator::kIterateFolderOnly);
         it; ++it)
        total += GetSpaceRequiredToCopyFile(*it, volume);
    return total;
}

// Each entry is copied under its name as it stands on disk. The name with
// the registry's spelling of its extension (TAKE.wav for TAKE.WAV) would
// do only where names ignore case; here it would rename the copy, and two
// names that differ only in case would be copied onto one file.
void Sys_Utils::CopyFolder(Sys_FileLoc const& from, Sys_FileLoc const& to, ECopyFolderMethod method)
{
    CreateFolder(to);
    Sys_Volume const volume = to.GetVolume();
    if (method == kCopyFolderTree)
    {
        std::vector<Sys_FileType> folders(1, Sys_FileType(Sys_FileType::kTypeFolder));
        for (Sys_FileLocIterator it(from, folders, Sys_FileLocIterator::kIterateFolderOnly); it; ++it)
            CopyFolder(*it, Sys_FileLoc(volume, to, NameOnDisk(*it), ""), kCopyFolderTree);
    }
    std::vector<Sys_FileType> files(1, Sys_FileType(Sys_FileType::kTypeFile));
    for (Sys_FileLocIterator it(from, files, Sys_FileLocIterator::kIterateFolderOnly); it; ++it)
        CopyFile(*it, Sys_FileLoc(volume, to, NameOnDisk(*it), ""));
}

// ---------------------------------------------------------------- the type registry

void Sys_Utils::RegisterKnownTypes(std::vector<Sys_FileType>& types, std::vector<std::string>& descriptions)
{
    CMN_ASSERT(types.size() == descriptions.size());
    Registry& registry = GetRegistry();
    size_t const n = std::min(types.size(), descriptions.size());
    for (size_t i = 0; i < n; ++i)
        registry.knownTypes[types[i]] = descriptions[i];
}

bool Sys_Utils::IsKnownType(Sys_FileType const& type)
{
    Registry const& registry = GetRegistry();
    return registry.knownTypes.find(type) != registry.knownTypes.end();
}

void Sys_Utils::RegisterEquivalentTypes(std::vector<Sys_FileType>& types)
{
    Registry& registry = GetRegistry();
    for (Sys_FileType const& t : types)
    {
        std::set<Sys_FileType>& group = registry.equivalentTypes[t];
        group.insert(types.begin(), types.end());
    }
}

bool Sys_Utils::AreTypesEquivalent(Sys_FileType const& a, Sys_FileType const& b)
{
    if (a == b)
        return true;
    Registry const& registry = GetRegistry();
    auto const entry = registry.equivalentTypes.find(a);
    return entry != registry.equivalentTypes.end() && entry->second.find(b) != entry->second.end();
}

std::string Sys_Utils::GetAssociatedExtension(Sys_FileType const& type)
{
    if (!type.GetWin32Extension().empty())
        return type.GetWin32Extension();
    Registry const& registry = GetRegistry();
    auto const entry = registry.equivalentTypes.find(type);
    if (entry != registry.equivalentTypes.end())
        for (Sys_FileType const& member : entry->second)
            if (!member.GetWin32Extension().empty())
                return member.GetWin32Extension();
    return std::string();
}

std::string Sys_Utils::GetDescriptiveString(Sys_FileType const& type)
{
    Registry const& registry = GetRegistry();
    auto const entry = registry.knownTypes.find(type);
    return entry != registry.knownTypes.end() ? entry->second : std::string("Unknown");
}

#pragma once

#include <exception>
#include <string>
#include <vector>

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_FileType.h"

class Cmn_Exception;
class Sys_FileLoc;
class Sys_Volume;

// Static services of the system layer. Each platform-dependent service is a
// one-line call through a function pointer with a public setter, so that a
// platform, a host or a test can put its own function behind it. The
// pointers are installed by Sys_Init::Init(); nothing here may be used
// before that.
//
// The registry of file types lives here too. It holds no built-in entries:
// the host registers its types at start-up, before any location is asked
// for its name, since a location keeps the extension it found first.
class Sys_Utils
{
public:
    enum ECopyFolderMethod
    {
        kCopyFolderTree = 0,     // the folder and every folder below it
        kCopyFolderFilesOnly = 1 // any other value: only the files directly in it
    };

    using ThreadSafeIncrementMethod = int32 (*)(volatile int32& value);
    using ThreadSafeDecrementMethod = int32 (*)(volatile int32& value);
    using SleepMethod = void (*)(int32 ms);
    using GetFileTypeMethod = Sys_FileType (*)(Sys_FileLoc const& loc);
    using GetVolumeRootFolderLocMethod = Sys_FileLoc (*)(Sys_Volume const& volume);
    using GetUTCMethod = int64 (*)();
    using UTC2StringMethod = std::string (*)(int64 utc);
    using GetTempFolderLocMethod = Sys_FileLoc (*)();
    using GetTempFileLocMethod = Sys_FileLoc (*)();
    using GetDesktopFolderLocMethod = Sys_FileLoc (*)();
    using CopyFileMethod = void (*)(Sys_FileLoc const& from, Sys_FileLoc const& to);
    using MoveFileMethod = void (*)(Sys_FileLoc const& from, Sys_FileLoc const& to);
    using DeleteFileMethod = void (*)(Sys_FileLoc const& loc);
    using DeleteFolderMethod = void (*)(Sys_FileLoc const& loc);
    using CreateFolderMethod = void (*)(Sys_FileLoc const& loc);
    using GetNewExceptionLogFileLocMethod = Sys_FileLoc (*)();
    using WriteExceptionLogFileMethod = void (*)(Sys_FileLoc const& loc, Cmn_Exception const* exception);
    using DisplayExceptionLogFileMethod = void (*)(Sys_FileLoc const& loc);
    using PostFatalExceptionDialogMethod = void (*)(Sys_FileLoc* loc);
    using HandleFatalExceptionsMethod = bool (*)();
    using ExitMethod = void (*)();
    using InstallSEHandlerMethod = void (*)();
    using NameThisThreadMethod = void (*)(std::string const& name);
    using BoostThreadPriorityMethod = void (*)();
    using LowerThreadPriorityMethod = void (*)();
    using MicrosecondsMethod = int64 (*)();
    using GetResourceForkLocMethod = Sys_FileLoc (*)(Sys_FileLoc const& loc);
    using IsSameFileMethod = bool (*)(Sys_FileLoc const& a, Sys_FileLoc const& b);
    using GetMaxFileNameLengthMethod = int32 (*)(Sys_FileLoc const& folder);
    using GetAppDataFolderLocMethod = Sys_FileLoc (*)();
    using ReplaceFileMethod = void (*)(Sys_FileLoc const& from, Sys_FileLoc const& to);

    // ---- platform services
    // Atomic counters; each returns the new value.
    static int32 ThreadSafeIncrement(volatile int32& value);
    static int32 ThreadSafeDecrement(volatile int32& value);
    static void Sleep(int32 ms);
    static Sys_FileType GetFileType(Sys_FileLoc const& loc);
    static Sys_FileLoc GetVolumeRootFolderLoc(Sys_Volume const& volume);
    // The time now in file time units: 100 ns since 1601-01-01 UTC.
    static int64 GetUTC();
    // Local date and time of a file time, or "N/A" when it cannot be converted.
    static std::string UTC2String(int64 utc);
    static Sys_FileLoc GetTempFolderLoc();
    // A new empty file in the temporary folder, which now belongs to the caller.
    static Sys_FileLoc GetTempFileLoc();
    static Sys_FileLoc GetDesktopFolderLoc();
    // The file operations are quiet: they throw nothing when the platform
    // call fails. A caller that cares looks at the disk afterwards. A copy
    // replaces an existing file only once it is whole, so a failed one
    // leaves the old file, and no part of itself.
    static void CopyFile(Sys_FileLoc const& from, Sys_FileLoc const& to);
    static void MoveFile(Sys_FileLoc const& from, Sys_FileLoc const& to);
    static void DeleteFile(Sys_FileLoc const& loc);
    static void DeleteFolder(Sys_FileLoc const& loc);
    // Makes the folder and every missing folder above it.
    static void CreateFolder(Sys_FileLoc const& loc);
    static void DisplayExceptionLogFile(Sys_FileLoc const& loc);
    // False while service staff want faults left to a debugger.
    static bool HandleFatalExceptions();
    // Ends the process: exit(0), static destructors run.
    static void Exit();
    // Turns hardware faults of the calling thread into exceptions, as on
    // every thread the library starts: for the threads of a host.
    static void InstallSEHandler();
    // The name the system shows for the calling thread (its first 15
    // characters): for threads the library starts without a Sys_Thread.
    static void NameThisThread(std::string const& name);
    static void BoostThreadPriority();
    static void LowerThreadPriority();
    // A steady count of microseconds, not tied to the wall clock.
    static int64 Microseconds();
    // Where the platform keeps the resource fork of a file that came from a
    // Macintosh, whether or not there is one; an empty location for a
    // location that can have none (a volume root).
    static Sys_FileLoc GetResourceForkLoc(Sys_FileLoc const& loc);
    // True if both locations reach one file: the same file on disk however
    // it is spelt (links, "./", another case where names ignore case), or,
    // while either does not exist yet, the same place once the links that
    // do exist are followed. Names are compared as the file system does,
    // not as locations compare.
    static bool IsSameFile(Sys_FileLoc const& a, Sys_FileLoc const& b);
    // The longest name, in bytes and with its extension, that a file in
    // `folder` may have on its volume; the largest int32 where the system
    // sets no limit. Throws the system error if the folder cannot be asked
    // (it is not there).
    static int32 GetMaxFileNameLength(Sys_FileLoc const& folder);
    // The user's own folder of the workstation's data files ("Zenthar" in
    // the per-user application data), made if it is missing; an empty
    // location when the user has no such place.
    static Sys_FileLoc GetAppDataFolderLoc();
    // Puts the file `from` in the place of `to` in one step: a reader sees
    // either the old file or the new one, never a part. Unlike MoveFile it
    // replaces, and it throws the system error when it cannot.
    static void ReplaceFile(Sys_FileLoc const& from, Sys_FileLoc const& to);
    // Writes `file` whole beside it, through to the disk, and puts it in
    // place with ReplaceFile: a reader, a crash or a full disk leaves the old
    // file or the new one, never a part. Throws the system error.
    static void WriteFileWhole(Sys_FileLoc const& file, void const* bytes, int64 size);

    static void SetThreadSafeIncrementMethod(ThreadSafeIncrementMethod method) { sThreadSafeIncrement = method; }
    static void SetThreadSafeDecrementMethod(ThreadSafeDecrementMethod method) { sThreadSafeDecrement = method; }
    static void SetSleepMethod(SleepMethod method) { sSleep = method; }
    static void SetGetFileTypeMethod(GetFileTypeMethod method) { sGetFileType = method; }
    static void SetGetVolumeRootFolderLocMethod(GetVolumeRootFolderLocMethod method)
    {
        sGetVolumeRootFolderLoc = method;
    }
    static void SetGetUTCMethod(GetUTCMethod method) { sGetUTC = method; }
    static void SetUTC2StringMethod(UTC2StringMethod method) { sUTC2String = method; }
    static void SetGetTempFolderLocMethod(GetTempFolderLocMethod method) { sGetTempFolderLoc = method; }
    static void SetGetTempFileLocMethod(GetTempFileLocMethod method) { sGetTempFileLoc = method; }
    static void SetGetDesktopFolderLocMethod(GetDesktopFolderLocMethod method) { sGetDesktopFolderLoc = method; }
    static void SetCopyFileMethod(CopyFileMethod method) { sCopyFile = method; }
    static void SetMoveFileMethod(MoveFileMethod method) { sMoveFile = method; }
    static void SetDeleteFileMethod(DeleteFileMethod method) { sDeleteFile = method; }
    static void SetDeleteFolderMethod(DeleteFolderMethod method) { sDeleteFolder = method; }
    static void SetCreateFolderMethod(CreateFolderMethod method) { sCreateFolder = method; }
    static void SetGetNewExceptionLogFileLocMethod(GetNewExceptionLogFileLocMethod method)
    {
        sGetNewExceptionLogFileLoc = method;
    }
    static void SetWriteExceptionLogFileMethod(WriteExceptionLogFileMethod method) { sWriteExceptionLogFile = method; }
    static void SetDisplayExceptionLogFileMethod(DisplayExceptionLogFileMethod method)
    {
        sDisplayExceptionLogFile = method;
    }
    static void SetPostFatalExceptionDialogMethod(PostFatalExceptionDialogMethod method)
    {
        sPostFatalExceptionDialog = method;
    }
    static void SetHandleFatalExceptionsMethod(HandleFatalExceptionsMethod method) { sHandleFatalExceptions = method; }
    static void SetExitMethod(ExitMethod method) { sExit = method; }
    static void SetInstallSEHandlerMethod(InstallSEHandlerMethod method) { sInstallSEHandler = method; }
    static void SetNameThisThreadMethod(NameThisThreadMethod method) { sNameThisThread = method; }
    static void SetBoostThreadPriorityMethod(BoostThreadPriorityMethod method) { sBoostThreadPriority = method; }
    static void SetLowerThreadPriorityMethod(LowerThreadPriorityMethod method) { sLowerThreadPriority = method; }
    static void SetMicrosecondsMethod(MicrosecondsMethod method) { sMicroseconds = method; }
    static void SetGetResourceForkLocMethod(GetResourceForkLocMethod method) { sGetResourceForkLoc = method; }
    static void SetIsSameFileMethod(IsSameFileMethod method) { sIsSameFile = method; }
    static void SetGetMaxFileNameLengthMethod(GetMaxFileNameLengthMethod method) { sGetMaxFileNameLength = method; }
    static void SetGetAppDataFolderLocMethod(GetAppDataFolderLocMethod method) { sGetAppDataFolderLoc = method; }
    static void SetReplaceFileMethod(ReplaceFileMethod method) { sReplaceFile = method; }

    // ---- portable services
    // Bytes that a copy of the file takes on the volume: data and resource
    // fork, each rounded up to the volume's allocation unit, plus a
    // thirtieth as a margin.
    static int64 GetSpaceRequiredToCopyFile(Sys_FileLoc const& loc, Sys_Volume const& volume);
    static int64 GetSpaceRequiredToCopyFolder(Sys_FileLoc const& loc, Sys_Volume const& volume, bool recursive);
    static void CopyFolder(Sys_FileLoc const& from, Sys_FileLoc const& to, ECopyFolderMethod method);

    // ---- the type registry
    // Pairs of types and descriptions; a type registered again takes the new description.
    static void RegisterKnownTypes(std::vector<Sys_FileType>& types, std::vector<std::string>& descriptions);
    static bool IsKnownType(Sys_FileType const& type);
    // One group of mutually equivalent types.
    static void RegisterEquivalentTypes(std::vector<Sys_FileType>& types);
    // Looks only at the group of the first argument.
    static bool AreTypesEquivalent(Sys_FileType const& a, Sys_FileType const& b);
    static std::string GetAssociatedExtension(Sys_FileType const& type);
    // The registered description, or "Unknown".
    static std::string GetDescriptiveString(Sys_FileType const& type);

    // ---- fatal exceptions
    // For what reached the entry of a thread: writes a log, tells the user
    // and ends the process. Returns false, doing nothing, when fatal
    // exceptions are not handled; the caller then lets e go on.
    static bool HandleFatalException(std::exception& e);
    // The same for an exception of unknown type, whose stack is gone.
    static bool HandleFatalException();

private:
    static Sys_FileLoc GetNewExceptionLogFileLoc();
    // A null exception makes an empty file and throws.
    static void WriteExceptionLogFile(Sys_FileLoc const& loc, Cmn_Exception const* e);
    static void PostFatalExceptionDialog(Sys_FileLoc* loc);

    static ThreadSafeIncrementMethod sThreadSafeIncrement;
    static ThreadSafeDecrementMethod sThreadSafeDecrement;
    static SleepMethod sSleep;
    static GetFileTypeMethod sGetFileType;
    static GetVolumeRootFolderLocMethod sGetVolumeRootFolderLoc;
    static GetUTCMethod sGetUTC;
    static UTC2StringMethod sUTC2String;
    static GetTempFolderLocMethod sGetTempFolderLoc;
    static GetTempFileLocMethod sGetTempFileLoc;
    static GetDesktopFolderLocMethod sGetDesktopFolderLoc;
    static CopyFileMethod sCopyFile;
    static MoveFileMethod sMoveFile;
    static DeleteFileMethod sDeleteFile;
    static DeleteFolderMethod sDeleteFolder;
    static CreateFolderMethod sCreateFolder;
    static GetNewExceptionLogFileLocMethod sGetNewExceptionLogFileLoc;
    static WriteExceptionLogFileMethod sWriteExceptionLogFile;
    static DisplayExceptionLogFileMethod sDisplayExceptionLogFile;
    static PostFatalExceptionDialogMethod sPostFatalExceptionDialog;
    static HandleFatalExceptionsMethod sHandleFatalExceptions;
    static ExitMethod sExit;
    static InstallSEHandlerMethod sInstallSEHandler;
    static NameThisThreadMethod sNameThisThread;
    static BoostThreadPriorityMethod sBoostThreadPriority;
    static LowerThreadPriorityMethod sLowerThreadPriority;
    static MicrosecondsMethod sMicroseconds;
    static GetResourceForkLocMethod sGetResourceForkLoc;
    static IsSameFileMethod sIsSameFile;
    static GetMaxFileNameLengthMethod sGetMaxFileNameLength;
    static GetAppDataFolderLocMethod sGetAppDataFolderLoc;
    static ReplaceFileMethod sReplaceFile;
};

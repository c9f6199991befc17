#pragma once

#include <string>
#include <vector>

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileType.h"

class Cmn_Exception;
class Sys_Volume;

// The Linux functions behind the pointers of Sys_Utils.
class Sys_UtilsPosix
{
public:
    // Installs every function below into Sys_Utils.
    static void SetPlatformDependentMethods();
    // The user's home folder: $HOME when it is a path, else the password
    // database's; empty when neither says.
    static std::string HomeFolder();

    static int32 ThreadSafeIncrement(volatile int32& value);
    static int32 ThreadSafeDecrement(volatile int32& value);
    static void DoSleep(int32 ms);

    static Sys_FileType GetFileType(Sys_FileLoc const& loc);
    // Decides the type of a canonical path: a folder if it ends in '/' or
    // is a folder on disk, else the registered type of the text behind the
    // last dot, else unknown.
    static Sys_FileType GetFileType(std::string const& path);
    static Sys_FileLoc GetVolumeRootFolderLoc(Sys_Volume const& volume);

    // 100 ns units since 1601-01-01 UTC.
    static int64 GetUTC();
    static std::string UTC2String(int64 utc);
    static int64 FileTimeFromTimespec(int64 seconds, int64 nanoseconds);
    // A steady clock: CLOCK_MONOTONIC needs no calibration, so start-up
    // does not spend a second measuring a counter.
    static int64 Microseconds();

    // $TMPDIR, or /tmp.
    static Sys_FileLoc GetTempFolderLoc();
    static Sys_FileLoc GetTempFileLoc();
    // $XDG_DESKTOP_DIR, or ~/Desktop.
    static Sys_FileLoc GetDesktopFolderLoc();
    static void GetAppModuleLoc(Sys_FileLoc* loc);

    // The fork of parent/NAME is parent/Resource.FRK/NAME, under the name as
    // it stands on disk: forks are kept in files, since a file system's
    // extended attributes are too small for one (ext4 takes about 4 KB).
    static Sys_FileLoc GetResourceForkLoc(Sys_FileLoc const& loc);

    // pathconf's name limit of the folder.
    static int32 GetMaxFileNameLength(Sys_FileLoc const& folder);

    // Quiet: failures are not reported.
    static void CopyFileA(Sys_FileLoc const& from, Sys_FileLoc const& to);
    // $XDG_DATA_HOME/Zenthar/ (~/.local/share/Zenthar/ by default), made
    // if missing; empty without a home.
    static Sys_FileLoc GetAppDataFolderLoc();
    // What a recent item's path is and whether it is there: a path that
    // canonicalizes, its type and a stat of it.
    static bool ProbeRecentItem(std::string const& path, Sys_FileType* type, bool* online);
    // rename(2): one step on one volume; throws the system error.
    static void ReplaceFile(Sys_FileLoc const& from, Sys_FileLoc const& to);
    // Never replaces an existing destination.
    static void MoveFileA(Sys_FileLoc const& from, Sys_FileLoc const& to);
    static void DeleteFileA(Sys_FileLoc const& loc);
    static void DeleteFolder(Sys_FileLoc const& loc);
    static void CreateFolder(Sys_FileLoc const& loc);
    // Device and file number where both exist; else the paths with every
    // existing link followed, compared byte for byte.
    static bool IsSameFile(Sys_FileLoc const& a, Sys_FileLoc const& b);

    // The priority ladder -15, -2, -1, 0, 1, 2, 15 of the calling thread. The
    // value is kept per thread and applied to the thread's nice value as far
    // as the process may; a refusal for want of privileges is ignored.
    static void BoostThreadPriority();
    static void LowerThreadPriority();
    static int32 GetThreadPriority();
    static void SetThreadPriority(int32 priority);

    // ---- fatal exceptions
    // False while the marker "Enable JIT Debugging" exists: a debugger then
    // takes the faults.
    static bool HandleFatalExceptions();
    static void Exit();

    // Marker files for service staff, looked for at each use in
    // $XDG_CONFIG_HOME/Zenthar/ (~/.config/Zenthar/ by default).
    static constexpr char kSuppressStackDumpsMarker[] = "suppress stack dumps";
    static constexpr char kEnableJITDebuggingMarker[] = "Enable JIT Debugging";
    static bool IsMarkerOnline(char const* name);
    // Folders that take the place of $XDG_CONFIG_HOME and $XDG_STATE_HOME
    // for the markers and the logs; empty goes back to the environment.
    static void SetConfigRoot(std::string const& folder);
    static void SetStateRoot(std::string const& folder);
    // The folder of the markers, ending in '/', or empty without a home.
    static std::string GetMarkerFolder();
    // $XDG_STATE_HOME/Zenthar/Velmora/Velmora Utilities/ExceptionLogFiles/
    // (below ~/.local/state by default), or empty without a home.
    static std::string GetExceptionLogFolder();
    // Log-N.vlx in that folder, which is made; N is the time now in file
    // time units, to the millisecond. Empty when there is no folder.
    static Sys_FileLoc GetNewExceptionLogFileLoc();
    // The count and addresses of the exception's stack, then its text and
    // each context's on a line, then the loaded modules. For a null
    // exception the file is made and left empty, and XC_Sys_UnknownException
    // is thrown.
    static void WriteExceptionLogFile(Sys_FileLoc const& loc, Cmn_Exception const* exception);
    // The message to the user, on stderr; a host with windows installs its own.
    static void PostFatalExceptionDialog(Sys_FileLoc* loc);
    // Writes DescribeExceptionLogFile to stdout.
    static void DisplayExceptionLogFile(Sys_FileLoc const& loc);
    // "Description:", the log's text, "Stack: " and the stack with function
    // names, found through the modules the log lists.
    static std::string DescribeExceptionLogFile(Sys_FileLoc const& loc);
    // Turns faults of the calling thread into exceptions from now on.
    static void InstallSEHandler();
    static void NameThisThread(std::string const& name);

    // The double-NUL-terminated pairs of label and pattern of a file
    // chooser's filter list.
    static void MakeFilterPairsString(std::vector<Sys_FileType>* types, char* buffer, int32 bufferSize,
                                      bool addAllFiles);
};

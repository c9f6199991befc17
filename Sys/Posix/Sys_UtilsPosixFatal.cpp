// The fatal-exception services of Sys_UtilsPosix: markers, the exception
// log and the message to the user.
#include "Sys/Posix/Sys_UtilsPosix.h"

#include <pwd.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <sstream>

#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_ModuleListPosix.h"
#include "Sys/Posix/Sys_SEHandlerPosix.h"
#include "Sys/Posix/Sys_StackDumpPosix.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_Utils.h"

namespace
{

constexpr int64 kFileTimeOfUnixEpoch = 116444736000000000LL;
constexpr char kLogFolder[] = "Zenthar/Velmora/Velmora Utilities/ExceptionLogFiles/";
// A log's text is a few lines and a list of modules; a larger file is no
// log of ours, and only its start is shown.
constexpr int64 kMaxLogText = 16 << 20;

// Counts the changes of the configuration root set in the program.
std::atomic<uint64> sConfigGeneration{0};

struct Roots
{
    std::mutex lock;
    std::string config;
    std::string state;
};

// Never destroyed: the fatal path may run while static objects go away.
Roots& GetRoots()
{
    static Roots* roots = new Roots();
    return *roots;
}

// The set root, else the variable, else the home folder and fallback; with
// a trailing '/', or empty when there is no home.
std::string RootFolder(std::string const& set, char const* variable, char const* fallback)
{
    std::string root = set;
    if (root.empty())
    {
        if (char const* value = std::getenv(variable); value && value[0] == '/')
            root = value;
        else if (std::string const home = Sys_UtilsPosix::HomeFolder(); !home.empty())
            root = home + fallback;
    }
    if (!root.empty() && root.back() != '/')
        root += '/';
    return root;
}

void WriteAll(int fd, std::string const& text)
{
    size_t done = 0;
    while (done < text.size())
    {
        ssize_t const n = ::write(fd, text.data() + done, text.size() - done);
        if (n <= 0)
            return;
        done += static_cast<size_t>(n);
    }
}

} // namespace

bool Sys_UtilsPosix::HandleFatalExceptions()
{
    return !IsMarkerOnline(kEnableJITDebuggingMarker);
}

void Sys_UtilsPosix::Exit()
{
    std::exit(0);
}

bool Sys_UtilsPosix::IsMarkerOnline(char const* name)
{
    // Asked at every exception: the folder is worked out again only when
    // what it comes from has changed, and the path is put together in a
    // buffer that keeps its room. What is left is the look at the disk.
    struct Cache
    {
        uint64 generation = ~uint64{0};
        std::string config;
        std::string home;
        std::string folder;
        std::string path;
    };
    thread_local Cache cache;
    char const* config = std::getenv("XDG_CONFIG_HOME");
    char const* home = std::getenv("HOME");
    uint64 const generation = sConfigGeneration.load(std::memory_order_acquire);
    if (generation != cache.generation || cache.config != (config ? config : "") || cache.home != (home ? home : ""))
    {
        cache.folder = GetMarkerFolder();
        cache.config = config ? config : "";
        cache.home = home ? home : "";
        cache.generation = generation;
    }
    if (cache.folder.empty())
        return false;
    cache.path.assign(cache.folder).append(name);
    struct stat st;
    return ::stat(cache.path.c_str(), &st) == 0;
}

void Sys_UtilsPosix::SetConfigRoot(std::string const& folder)
{
    Roots& roots = GetRoots();
    std::lock_guard<std::mutex> lock(roots.lock);
    roots.config = folder;
    sConfigGeneration.fetch_add(1, std::memory_order_acq_rel);
}

void Sys_UtilsPosix::SetStateRoot(std::string const& folder)
{
    Roots& roots = GetRoots();
    std::lock_guard<std::mutex> lock(roots.lock);
    roots.state = folder;
}

std::string Sys_UtilsPosix::GetMarkerFolder()
{
    Roots& roots = GetRoots();
    std::lock_guard<std::mutex> lock(roots.lock);
    std::string const root = RootFolder(roots.config, "XDG_CONFIG_HOME", "/.config");
    return root.empty() ? root : root + "Zenthar/";
}

std::string Sys_UtilsPosix::GetExceptionLogFolder()
{
    Roots& roots = GetRoots();
    std::lock_guard<std::mutex> lock(roots.lock);
    std::string const root = RootFolder(roots.state, "XDG_STATE_HOME", "/.local/state");
    return root.empty() ? root : root + kLogFolder;
}

Sys_FileLoc Sys_UtilsPosix::GetNewExceptionLogFileLoc()
{
    std::string const folder = GetExceptionLogFolder();
    if (folder.empty())
        return Sys_FileLoc();
    Sys_Utils::CreateFolder(Sys_FileLoc(folder));
    struct timespec now;
    ::clock_gettime(CLOCK_REALTIME, &now);
    int64 const milliseconds = static_cast<int64>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
    return Sys_FileLoc(folder + "Log-" + std::to_string(milliseconds * 10000 + kFileTimeOfUnixEpoch) + ".vlx");
}

void Sys_UtilsPosix::WriteExceptionLogFile(Sys_FileLoc const& loc, Cmn_Exception const* exception)
{
    Sys_File file(loc);
    Sys_File::StOpen open(&file, Sys_File::kOpenCreate | Sys_File::kOpenWrite);
    if (!exception)
        throw Cmn_TypedException<Cmn_NullExceptionData>::New(XC_Sys_UnknownException, Cmn_NullExceptionData(),
                                                             new Sys_StackDumpPosix());
    // An exception made before the capture was installed has another kind
    // of dump, or none: its log starts with a count of 0.
    auto const* dump = dynamic_cast<Sys_StackDumpPosix const*>(exception->GetStackDump());
    Sys_StackDumpPosix const empty;
    (dump ? *dump : empty).Dump(file);

    std::ostringstream text;
    text << exception->GetDescription() << '\n';
    for (auto it = exception->GetContextListBegin(); it != exception->GetContextListEnd(); ++it)
        text << (*it)->GetDescription() << '\n';
    Sys_ModuleListPosix::Current().Write(text);
    std::string const bytes = text.str();
    file.Write(bytes.data(), static_cast<int64>(bytes.size()));
}

void Sys_UtilsPosix::PostFatalExceptionDialog(Sys_FileLoc* loc)
{
    // Both spellings are part of the messages as they have always been.
    std::string text;
    if (loc && *loc)
        text = "A fatal exception has occured.\nVelmora must exit.\nA log file has been written to: \n" +
               loc->GetFullPath() + "\n";
    else
        text = "A fatal exception has occurred.\nVelmora must exit.\n";
    WriteAll(STDERR_FILENO, text);
}

void Sys_UtilsPosix::DisplayExceptionLogFile(Sys_FileLoc const& loc)
{
    std::string const text = DescribeExceptionLogFile(loc);
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

std::string Sys_UtilsPosix::DescribeExceptionLogFile(Sys_FileLoc const& loc)
{
    Sys_File file(loc);
    Sys_File::StOpen open(&file, Sys_File::kOpenExisting | Sys_File::kOpenRead);
    Sys_StackDumpPosix const dump(file);
    int64 const size = std::min(file.GetEOF() - file.GetPosition(), kMaxLogText);
    std::string logText(static_cast<size_t>(std::max<int64>(size, 0)), '\0');
    logText.resize(static_cast<size_t>(std::max<int64>(file.Read(logText.data(), size), 0)));
    Sys_ModuleListPosix const modules = Sys_ModuleListPosix::SplitFromText(&logText);

    std::ostringstream text;
    text << "Description:"
         << "\r\n"
         << logText << "\r\n"
         << "Stack: "
         << "\r\n";
    dump.Print(text, modules);
    return text.str();
}

void Sys_UtilsPosix::InstallSEHandler()
{
    Sys_SEHandlerPosix::InstallSEHandler();
}

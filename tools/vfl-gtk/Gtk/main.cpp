// vfl-gtk: a small browser of audio files on the library's window parts.
//
//     vfl-gtk [--keys FILE] [AUDIO-FILE]
//
// File > Open... (Ctrl+O) chooses a file with the workstation's file
// chooser and its recent folders and files; the window shows what
// `vfl info` tells of it and its overview as `vfl overview --png` draws it.
// File > Convert... (Ctrl+E) writes it as WAVE, AIFF or AIFF-C. The keys
// come from a bindings file (--keys; the built-in one is installed as
// share/vfl/vfl-gtk.keys to start from).
#include "DAW/DAW_KeyBindingText.h"
#include "Sys/Gtk/Sys_FileDialogGtk.h"
#include "tools/vfl-gtk/DefaultKeys.h"
#include "tools/vfl-gtk/Gtk/Browser.h"
#include "tools/vfl/ToolSupport.h"

#include <gtk/gtk.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

namespace
{
char const kUsage[] = "Usage: vfl-gtk [--keys FILE] [AUDIO-FILE]\n"
                      "A window that shows an audio file's information and overview.\n"
                      "  --keys FILE  key bindings (default: the built-in ones, as in share/vfl/vfl-gtk.keys)\n"
                      "  --help       this text\n"
                      "  --version    the version\n";
} // namespace

#if defined(__SANITIZE_ADDRESS__)
// The toolkit and the libraries under it keep caches for the life of the
// process; a build with the leak checker reports only what is ours.
extern "C" char const* __lsan_default_suppressions()
{
    return "leak:libdbus-1.so\nleak:libglib-2.0.so\nleak:libgobject-2.0.so\nleak:libgtk-3.so\nleak:libgdk-3.so\n"
           "leak:libfontconfig.so\nleak:libpango\nleak:libcairo.so\nleak:libharfbuzz.so\nleak:libgio-2.0.so\n";
}
#endif

int main(int argc, char** argv)
{
    std::string keysFile, audioFile;
    for (int i = 1; i < argc; ++i)
    {
        std::string const arg = argv[i];
        if (arg == "--help" || arg == "-h")
            return std::fputs(kUsage, stdout), 0;
        if (arg == "--version")
            return std::printf("vfl-gtk %s\n", VFL_VERSION), 0;
        if (arg == "--keys" && i + 1 < argc)
            keysFile = argv[++i];
        else if (arg.rfind("--keys=", 0) == 0)
            keysFile = arg.substr(7);
        else if (arg.empty() || arg[0] == '-' || !audioFile.empty())
        {
            std::fprintf(stderr, "vfl-gtk: unexpected argument '%s'\n%s", arg.c_str(), kUsage);
            return 2;
        }
        else
            audioFile = arg;
    }
    std::string keys = kDefaultKeys;
    std::string keysSource = "built-in key bindings";
    if (!keysFile.empty())
    {
        std::ifstream in(keysFile, std::ios::binary);
        if (!in)
        {
            std::fprintf(stderr, "vfl-gtk: %s: cannot be read: %s\n", keysFile.c_str(), std::strerror(errno));
            return 1;
        }
        std::ostringstream text;
        text << in.rdbuf();
        keys = text.str();
        keysSource = keysFile;
    }
    try
    {
        // A file that is no bindings file is said before any window opens.
        std::istringstream in(keys);
        DAW_KeyBindingText::Read(in, keysSource);
    }
    catch (std::exception const& e)
    {
        std::fprintf(stderr, "vfl-gtk: %s\n", vfl::ExceptionText(e).c_str());
        return 1;
    }
    if (!gtk_init_check(&argc, &argv))
    {
        std::fputs("vfl-gtk: no display to open a window on (is DISPLAY set?)\n", stderr);
        return 1;
    }
    g_set_application_name("vfl-gtk");
    vfl::InitLibrary();
    Sys_FileDialogGtk::SetPlatformDependentMethods();
    try
    {
        Browser browser(keys, keysSource);
        g_signal_connect(browser.GetWindow(), "destroy", G_CALLBACK(&gtk_main_quit), nullptr);
        if (!audioFile.empty())
            browser.Open(vfl::LocationFromArgument(audioFile));
        gtk_main();
    }
    catch (std::exception const& e)
    {
        std::fprintf(stderr, "vfl-gtk: %s\n", vfl::ExceptionText(e).c_str());
        return 1;
    }
    return 0;
}

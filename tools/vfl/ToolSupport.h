// Shared pieces of the vfl commands: argument parsing helpers, output
// formatting and the common way of reporting a failure.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_FileType.h"

#include <exception>
#include <string>
#include <vector>

class FF_AudioFile;
class Sys_FileLoc;

namespace vfl
{
// The formats vfl knows, in one table that every command reads: the name a
// format is written under (its -t name), the extensions the library is told
// of (names a user may give too), other names a user may give, the
// Macintosh types of its files, and whether vfl only writes it.
struct Format
{
    char const* name;
    std::vector<char const*> extensions;
    std::vector<char const*> aliases;
    std::vector<char const*> macTypes; // the first is registered; the rest only equivalent
    char const* description;
    bool writeOnly;
    // Sizes of 32 bits: a file past 4 GiB, which another tool wrote with
    // its sizes wrapped or unfinished, can be read but not rewritten.
    bool sizesOf32Bits = false;
};
std::vector<Format> const& Formats();

// The format a user's name or extension stands for ("wave" and "WAV" are
// "wav", "aiff" is "aif"), or null.
Format const* FindFormat(std::string const& name);

// Starts the library once: system layer and the file types vfl knows.
void InitLibrary();

// The file type a user names on the command line ("wav", "aif", "aifc").
Sys_FileType TypeFromName(std::string const& name);

// A location for a path as given on the command line (relative to the
// current folder or absolute).
Sys_FileLoc LocationFromArgument(std::string const& path);

// The short name of a file's type as vfl prints it: "wav", "aiff", "aifc",
// "vorn" or "unknown".
std::string TypeName(FF_AudioFile& file);

// Why a file named on the command line cannot be changed where it lies
// (standard input, a pipe), or empty when it can be.
std::string WhyNotChangeableInPlace(std::string const& path);

// Why a file cannot be rewritten in its own format, or empty when it can.
std::string WhyNotRewritable(FF_AudioFile& file);

// Text of any exception on one line: the code's text, then each context,
// for the library's own; what() for others.
std::string ExceptionText(std::exception const& e);

// Prints "vfl: <context>: <text>" on stderr.
void ReportError(std::string const& context, std::string const& text);

// Prints "vfl: <command>: <role> <path>: <text>", the role ("input",
// "output") left out when empty.
void ReportFileError(std::string const& command, std::string const& role, std::string const& path,
                     std::string const& text);

// The path the library chooses for a new file wished at `wished`: a name
// of that folder not taken yet, shortened to the file system's limit and
// numbered as needed, with the wished extension.
std::string UniqueOutputPath(std::string const& wished);

// Text as UTF-8: valid UTF-8 as it is, anything else read as Latin-1.
std::string ToUtf8(std::string const& text);

// A JSON string literal of the text, always valid UTF-8.
std::string JsonString(std::string const& text);
} // namespace vfl

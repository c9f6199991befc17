#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "Cmn/Cmn_Types.h"

class Sys_ElfSymbolsPosix;

// The code modules of a process (the program and its shared libraries) with
// where each was loaded. Position-independent code loads at another address
// each run, so a log of raw addresses carries this list: with it, a reader
// in another process finds the module and the offset of each address, and
// the function there from the module's file on disk.
class Sys_ModuleListPosix
{
public:
    struct Module
    {
        uint64 base = 0;  // what the module's own addresses are relative to
        uint64 start = 0; // the range its loaded segments take
        uint64 end = 0;
        std::string buildId; // lower-case hexadecimal, or empty
        std::string path;
    };

    // The line that opens the list inside a log's text.
    static constexpr char kHeading[] = "Loaded modules:";

    Sys_ModuleListPosix();
    ~Sys_ModuleListPosix();
    Sys_ModuleListPosix(Sys_ModuleListPosix&&) noexcept;
    Sys_ModuleListPosix& operator=(Sys_ModuleListPosix&&) noexcept;

    // The modules of the running process.
    static Sys_ModuleListPosix Current();

    // The heading and one line per module: base, start, end, build id (or
    // "-") and path, the path last since it may hold blanks.
    void Write(std::ostream& os) const;
    // Splits a log's text at the heading: text keeps what comes before it,
    // and the lines after it become the list. Lines that are not a module
    // are skipped. A text without the heading leaves an empty list.
    static Sys_ModuleListPosix SplitFromText(std::string* text);

    std::vector<Module> const& GetModules() const { return mModules; }

    // The function at address, demangled, and the distance into it. False
    // when no module holds the address, its file cannot be read, or the
    // file on disk is not the one that was loaded (another build id).
    bool Resolve(uint64 address, std::string* name, uint64* displacement) const;

private:
    std::vector<Module> mModules;
    // Read on first use, one per module.
    mutable std::vector<std::unique_ptr<Sys_ElfSymbolsPosix>> mSymbols;
};

#pragma once

#include <string>
#include <vector>

#include "Cmn/Cmn_Types.h"

// The function symbols and the build id of one ELF file on disk, for
// turning code addresses into names: those of the running process, and
// those of a log written by another process with the same files.
//
// The file is untrusted: every offset and size is checked against the
// file's length, and a file that is no 64-bit ELF of this byte order, or
// one whose tables do not fit, simply has no symbols.
class Sys_ElfSymbolsPosix
{
public:
    explicit Sys_ElfSymbolsPosix(std::string const& path);

    // The GNU build id in lower-case hexadecimal, or empty.
    std::string const& GetBuildId() const { return mBuildId; }
    bool HasSymbols() const { return !mSymbols.empty(); }

    // The function whose code holds offset, an address less the load base
    // of the module: its name as the linker knows it, and how far into it
    // offset lies. False if no function holds it.
    bool Find(uint64 offset, std::string* name, uint64* displacement) const;

private:
    struct Symbol
    {
        uint64 start;
        uint64 size;
        uint32 name; // offset in mNames
    };

    void Read(int fd, uint64 fileSize);

    std::vector<Symbol> mSymbols; // sorted by start
    std::string mNames;
    std::string mBuildId;
};

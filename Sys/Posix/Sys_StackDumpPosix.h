#pragma once

#include <iosfwd>
#include <vector>

#include "Cmn/Cmn_StackDump.h"
#include "Cmn/Cmn_Types.h"

class Sys_File;
class Sys_ModuleListPosix;

// A stack as a list of code addresses, innermost frame first, at most
// kMaxFrames of them. The thread captures its own stack, in place: no
// second thread has to stop it.
//
// While the marker file "suppress stack dumps" exists, every capture gives
// an empty list (and costs one look at the disk).
class Sys_StackDumpPosix : public Cmn_StackDump
{
public:
    static constexpr int32 kMaxFrames = 999;

    Sys_StackDumpPosix() = default;
    // The stack of a thread stopped by a signal: the instruction that
    // faulted, then its callers. signalContext is the handler's ucontext_t.
    explicit Sys_StackDumpPosix(void const* signalContext);
    // Reads a dump back from a log: a 32-bit count, then that many 64-bit
    // addresses, in host order. Leaves the position on the first byte after
    // them. An empty file is an empty dump; a count that the rest of the
    // file cannot hold throws XC_Cmn_EndOfFile, one above kMaxFrames a
    // description that says the file is no log.
    explicit Sys_StackDumpPosix(Sys_File& file);
    Sys_StackDumpPosix(Sys_StackDumpPosix const& other) = default;
    Sys_StackDumpPosix& operator=(Sys_StackDumpPosix const& other) = default;

    // The stack of the calling thread from the caller of Capture on, less
    // the skip innermost of those frames.
    static Sys_StackDumpPosix* Capture(int skip);

    // One line per address: "0x", the address in hexadecimal at least 8
    // digits wide, ":\t ", the function and " + 0x" with the distance into
    // it; without a function, only the address. Names are looked up in the
    // modules of this process.
    void Print(std::ostream& os) const override;
    // The same, with the modules of the process that made the dump.
    void Print(std::ostream& os, Sys_ModuleListPosix const& modules) const;
    Cmn_StackDump* Clone() const override;
    // Writes the count and the addresses at the file's position.
    void Dump(Sys_File& file) const;

    std::vector<uint64> const& GetAddresses() const { return mAddresses; }
    void SetAddresses(std::vector<uint64> addresses) { mAddresses = std::move(addresses); }

    // Makes every exception capture its stack through this class.
    static void SetPlatformDependentMethods();

private:
    static Cmn_StackDump* Create();

    std::vector<uint64> mAddresses;
};

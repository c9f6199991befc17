#include "Sys/Posix/Sys_StackDumpPosix.h"

#include <ucontext.h>
#include <unwind.h>

#include <algorithm>
#include <iomanip>
#include <ostream>

#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_ModuleListPosix.h"
#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Sys_File.h"

namespace
{

constexpr int kBufferFrames = Sys_StackDumpPosix::kMaxFrames + 32;

struct Walk
{
    void** frames;
    int count;
};

_Unwind_Reason_Code AddFrame(_Unwind_Context* context, void* data)
{
    auto* walk = static_cast<Walk*>(data);
    if (walk->count == kBufferFrames)
        return _URC_END_OF_STACK;
    uintptr_t const ip = _Unwind_GetIP(context);
    if (ip == 0)
        return _URC_END_OF_STACK;
    walk->frames[walk->count++] = reinterpret_cast<void*>(ip);
    return _URC_NO_REASON;
}

// The return addresses of the calling thread, innermost first, starting
// with the caller of this function; the unwinder itself, straight: the
// wrapper of the C library costs as much again.
__attribute__((noinline)) int WalkStack(void** frames)
{
    Walk walk{frames, 0};
    _Unwind_Backtrace(&AddFrame, &walk);
    return walk.count;
}

} // namespace

Sys_StackDumpPosix::Sys_StackDumpPosix(void const* signalContext)
{
    if (Sys_UtilsPosix::IsMarkerOnline(Sys_UtilsPosix::kSuppressStackDumpsMarker))
        return;
    auto const* context = static_cast<ucontext_t const*>(signalContext);
    auto const faultAt = static_cast<uint64>(context->uc_mcontext.gregs[REG_RIP]);
    // The walk starts in the handler; what lies above the signal's frame
    // belongs to the handler and is left out.
    void* frames[kBufferFrames];
    int const count = WalkStack(frames);
    int first = 0;
    while (first < count && reinterpret_cast<uint64>(frames[first]) != faultAt)
        ++first;
    if (first == count)
    {
        mAddresses.push_back(faultAt);
        return;
    }
    int const end = std::min(count, first + kMaxFrames);
    for (int i = first; i < end; ++i)
        mAddresses.push_back(reinterpret_cast<uint64>(frames[i]));
}

Sys_StackDumpPosix::Sys_StackDumpPosix(Sys_File& file)
{
    auto endOfFile = []
    {
        return Cmn_TypedException<Cmn_NullExceptionData>::New(XC_Cmn_EndOfFile, Cmn_NullExceptionData(),
                                                              new Sys_StackDumpPosix());
    };
    uint32 count = 0;
    int64 const got = file.Read(&count, sizeof count);
    if (got == 0)
        return; // the empty log of an exception that was not ours
    if (got != sizeof count)
        throw endOfFile();
    // No stack walk writes more; a larger count is no log, and is not read
    // into memory.
    if (count > static_cast<uint32>(kMaxFrames))
        throw Cmn_TypedException<Cmn_TStringXData>::New(
            XC_Cmn_ExceptionContext, Cmn_TStringXData("not an exception log: " + std::to_string(count) + " addresses"),
            new Sys_StackDumpPosix());
    int64 const left = file.GetEOF() - file.GetPosition();
    if (left < 0 || static_cast<uint64>(left) / sizeof(uint64) < count)
        throw endOfFile();
    mAddresses.resize(count);
    int64 const bytes = static_cast<int64>(count) * static_cast<int64>(sizeof(uint64));
    if (bytes > 0 && file.Read(mAddresses.data(), bytes) != bytes)
        throw endOfFile();
}

Sys_StackDumpPosix* Sys_StackDumpPosix::Capture(int skip)
{
    auto* dump = new Sys_StackDumpPosix();
    if (Sys_UtilsPosix::IsMarkerOnline(Sys_UtilsPosix::kSuppressStackDumpsMarker))
        return dump;
    void* frames[kBufferFrames];
    int const count = WalkStack(frames);
    // The stack proper starts at the return into the caller.
    void* const caller = __builtin_return_address(0);
    int first = 0;
    while (first < count && frames[first] != caller)
        ++first;
    if (first == count)
        first = 1;
    first = std::min(count, first + std::max(skip, 0));
    int const end = std::min(count, first + kMaxFrames);
    dump->mAddresses.reserve(static_cast<size_t>(end - first));
    for (int i = first; i < end; ++i)
        dump->mAddresses.push_back(reinterpret_cast<uint64>(frames[i]));
    return dump;
}

void Sys_StackDumpPosix::Print(std::ostream& os) const
{
    Print(os, Sys_ModuleListPosix::Current());
}

void Sys_StackDumpPosix::Print(std::ostream& os, Sys_ModuleListPosix const& modules) const
{
    char const fill = os.fill('0');
    for (uint64 address : mAddresses)
    {
        std::string name;
        uint64 displacement = 0;
        os << "0x" << std::hex << std::setw(8) << address;
        if (modules.Resolve(address, &name, &displacement))
            os << ":\t " << name << " + 0x" << displacement;
        os << std::dec << "\r\n";
    }
    os.fill(fill);
}

Cmn_StackDump* Sys_StackDumpPosix::Clone() const
{
    return new Sys_StackDumpPosix(*this);
}

void Sys_StackDumpPosix::Dump(Sys_File& file) const
{
    auto const count = static_cast<uint32>(mAddresses.size());
    file.Write(&count, sizeof count);
    if (count > 0)
        file.Write(mAddresses.data(), static_cast<int64>(count * sizeof(uint64)));
}

void Sys_StackDumpPosix::SetPlatformDependentMethods()
{
    // The first walk sets up what the unwinder keeps; done now, so that a
    // walk inside a signal handler finds it ready.
    void* frames[kBufferFrames];
    (void)WalkStack(frames);
    SetCreateMethod(&Create);
}

Cmn_StackDump* Sys_StackDumpPosix::Create()
{
    // This function and Cmn_StackDump::Create are left out.
    return Capture(2);
}

// The mount table as the kernel writes it, or as anything that stands in
// for /proc/self/mountinfo (a container's, a broken one) may: every line
// is read without harm, each mount point comes once as a folder, and a
// path below a mount point is found on it.
#include "Sys/Posix/Sys_VolumePosix.h"
#include "Sys/Posix/Sys_VolumePosixProbe.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>

namespace
{
std::string sText;

std::string ReadFuzzedMountInfo()
{
    return sText;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    sText.assign(reinterpret_cast<char const*>(data), size);
    auto const table = Sys_VolumePosix::ParseMountInfo(sText);
    std::set<std::string> roots;
    for (auto const& mount : table)
        if (mount.root.empty() || mount.root.front() != '/' || mount.root.back() != '/' ||
            !roots.insert(mount.root).second)
            std::abort();

    Sys_VolumePosixProbe::Current().readMountInfo = &ReadFuzzedMountInfo;
    Sys_VolumePosix::FlushMountTableCache();
    for (auto const& mount : table)
        if (Sys_VolumePosix::GetRootOfPath(mount.root + "x") != mount.root)
            std::abort();
    return 0;
}
